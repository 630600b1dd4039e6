#pragma once

#include "engine/EngineTypes.h"
#include "model/Preferences.h"

#include <QAbstractListModel>
#include <QColor>
#include <QtQml/qqmlregistration.h>

// The three totals tiles: new, recurring and churn of the selected range.
class TilesModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the dashboard")

public:
    enum Role { KindRole = Qt::UserRole + 1, NameRole, ValueRole, ColorRole, UnavailableRole, TooltipRole, LoadingRole };
    struct Tile
    {
        RevenueKind kind;
        QString value; // "—" when unavailable, empty while loading
        bool unavailable = false;
        bool loading = false; // the first load runs: no figure yet, not even $0
        friend bool operator==(const Tile &, const Tile &) = default;
    };

    static QList<Tile> tiles(const Totals &totals, const QSet<RevenueKind> &unavailable, const Preferences &preferences,
                             bool firstLoad = false);

    using QAbstractListModel::QAbstractListModel;
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    void setTiles(QList<Tile> tiles);

private:
    QList<Tile> m_tiles;
};
