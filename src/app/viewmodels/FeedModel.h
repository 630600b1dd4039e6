#pragma once

#include "viewmodels/CopiedEmail.h"

#include <QAbstractListModel>
#include <QColor>
#include <QLocale>
#include <QtQml/qqmlregistration.h>

class RevenueEngine;

// The dashboard's activity feed: the filtered feed split at the start of the selected range
// into in-range and older events, with a divider row between the two parts when both exist.
// Holds the pane's open row and the "Copied!" state.
class FeedModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the dashboard")
    Q_PROPERTY(int inRangeCount READ inRangeCount NOTIFY layoutRebuilt)
    Q_PROPERTY(int olderCount READ olderCount NOTIFY layoutRebuilt)

public:
    enum Role {
        IsDividerRole = Qt::UserRole + 1,
        DividerTextRole,
        EventIdRole,
        DescriptionRole,
        DateLabelRole,
        AmountTextRole,
        CurrencyCodeRole,
        AmountColorRole,
        KindRole,
        LetterRole,
        LetterColorRole,
        IconSourceRole,
        BadgeColorRole,
        BadgeSymbolRole,
        ExpandedRole,
        HasEmailRole,
        EmailTextRole,
        CopiedRole,
        AccountNameRole,
        LinkLabelRole,
        LinkUrlRole,
        HairlineRole,
        IsDemoRole,
    };

    FeedModel(RevenueEngine *engine, QLocale locale, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int inRangeCount() const { return m_inRangeCount; }
    int olderCount() const { return m_olderCount; }
    std::optional<QString> expandedEventId() const { return m_expandedEventId; }

    // Opens the row, or closes it when it is the open one; at most one row is open.
    Q_INVOKABLE void toggle(int row);
    // Opens the event's row (a clicked notification's), whichever row was open.
    void open(const QString &eventId);
    // Puts the row's real e-mail on the clipboard and shows "Copied!" for a moment.
    Q_INVOKABLE void copyEmail(int row);
    // Date labels are relative to now; the dashboard calls this once a minute.
    void refreshDateLabels();
    void rebuild();

Q_SIGNALS:
    void layoutRebuilt();

private:
    struct Row
    {
        qsizetype feedIndex = -1; // -1: the divider
    };
    void emitRowChanged(const QString &eventId);
    QString iconFileFor(const QUuid &accountId) const;

    RevenueEngine *m_engine;
    QLocale m_locale;
    QList<Row> m_rows;
    int m_inRangeCount = 0;
    int m_olderCount = 0;
    std::optional<QString> m_expandedEventId;
    CopiedEmail m_copied;
    QHash<QUuid, QString> m_iconFiles;
};
