#include "ChoiceListModel.h"

int ChoiceListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_items.size());
}

QVariant ChoiceListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Item &item = m_items.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case LabelRole: return item.label;
    case CheckedRole: return item.checked;
    case SeparatorRole: return item.separator;
    case IconSourceRole: return item.iconSource;
    }
    return {};
}

QHash<int, QByteArray> ChoiceListModel::roleNames() const
{
    return {{LabelRole, "label"}, {CheckedRole, "isChecked"}, {SeparatorRole, "isSeparator"}, {IconSourceRole, "iconSource"}};
}

void ChoiceListModel::setItems(QList<Item> items)
{
    if (items == m_items)
        return;
    if (items.size() == m_items.size()) {
        m_items = std::move(items);
        if (!m_items.isEmpty())
            Q_EMIT dataChanged(index(0), index(static_cast<int>(m_items.size()) - 1));
        return;
    }
    beginResetModel();
    m_items = std::move(items);
    endResetModel();
}

void ChoiceListModel::choose(int row)
{
    if (row < 0 || row >= m_items.size() || m_items.at(row).separator)
        return;
    Q_EMIT chosen(row);
}
