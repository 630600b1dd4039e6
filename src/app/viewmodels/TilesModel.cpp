#include "TilesModel.h"

#include "viewmodels/Formatting.h"

using namespace Qt::StringLiterals;

QList<TilesModel::Tile> TilesModel::tiles(const Totals &totals, const QSet<RevenueKind> &unavailable,
                                          const Preferences &preferences, bool firstLoad)
{
    const auto make = [&](RevenueKind kind, double usd) {
        if (firstLoad)
            return Tile{kind, QString(), false, true};
        if (unavailable.contains(kind))
            return Tile{kind, u"—"_s, true};
        const QString money = Formatting::formatMoney(usd, preferences);
        return Tile{kind, kind == RevenueKind::Churn ? Formatting::negated(money) : money, false};
    };
    return {make(RevenueKind::New, totals.newMRR), make(RevenueKind::Recurring, totals.recurringMRR),
            make(RevenueKind::Churn, totals.churn)};
}

int TilesModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_tiles.size());
}

QVariant TilesModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Tile &tile = m_tiles.at(index.row());
    switch (role) {
    case KindRole: return toRaw(tile.kind);
    case Qt::DisplayRole:
    case NameRole: return Formatting::kindName(tile.kind).toUpper();
    case ValueRole: return tile.value;
    case ColorRole: return Formatting::kindColor(tile.kind);
    case UnavailableRole: return tile.unavailable;
    case LoadingRole: return tile.loading;
    case TooltipRole:
        switch (tile.kind) {
        case RevenueKind::New: return u"Click to see customers who paid as new subs"_s;
        case RevenueKind::Recurring: return u"Click to see customers who renewed"_s;
        default: return u"Click to see canceled subscriptions"_s;
        }
    }
    return {};
}

QHash<int, QByteArray> TilesModel::roleNames() const
{
    return {{KindRole, "kind"},   {NameRole, "name"},     {ValueRole, "value"},
            {ColorRole, "color"}, {UnavailableRole, "unavailable"}, {TooltipRole, "tooltip"},
            {LoadingRole, "loading"}};
}

void TilesModel::setTiles(QList<Tile> tiles)
{
    if (tiles.size() != m_tiles.size()) {
        beginResetModel();
        m_tiles = std::move(tiles);
        endResetModel();
        return;
    }
    if (tiles == m_tiles)
        return;
    m_tiles = std::move(tiles);
    Q_EMIT dataChanged(index(0), index(static_cast<int>(m_tiles.size()) - 1));
}
