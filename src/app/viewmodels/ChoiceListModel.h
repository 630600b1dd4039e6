#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

// The items of a small menu: a label, whether it carries the check mark, and separators.
// The owner fills it and reacts to chosen(row).
class ChoiceListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Filled by its pane")

public:
    enum Role { LabelRole = Qt::UserRole + 1, CheckedRole, SeparatorRole, IconSourceRole };
    struct Item
    {
        QString label;
        bool checked = false;
        bool separator = false;
        QString iconSource; // an image shown before the label, e.g. an account's icon
        friend bool operator==(const Item &, const Item &) = default;
    };

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    void setItems(QList<Item> items);
    const QList<Item> &items() const { return m_items; }

    // Separators cannot be chosen.
    Q_INVOKABLE void choose(int row);

Q_SIGNALS:
    void chosen(int row);

private:
    QList<Item> m_items;
};
