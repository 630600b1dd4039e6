#pragma once

#include "mrr/MrrTypes.h"
#include "viewmodels/ChoiceListModel.h"
#include "viewmodels/MrrChartModel.h"

#include <QAbstractListModel>
#include <QColor>
#include <QLocale>
#include <QPointer>
#include <QSet>
#include <QtQml/qqmlregistration.h>

class RevenueEngine;
class QFileDialog;

// The MRR pane: the month's figures, the goal and its ETA, the chart, and this month's
// movements by customer (the rows), filtered by the kind chosen among `kinds`.
class MrrModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")
    Q_PROPERTY(bool hasData READ hasData NOTIFY changed)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY changed)
    Q_PROPERTY(QString errorText READ errorText NOTIFY changed)
    Q_PROPERTY(QString mrrText READ mrrText NOTIFY changed)
    // The dashboard's way in: "MRR $12.3K".
    Q_PROPERTY(QString entryText READ entryText NOTIFY changed)
    Q_PROPERTY(QString arrText READ arrText NOTIFY changed)
    Q_PROPERTY(QString netNewText READ netNewText NOTIFY changed)
    Q_PROPERTY(QColor netNewColor READ netNewColor NOTIFY changed)
    // "approx." beside every figure that PayPal's estimate is part of; empty otherwise.
    Q_PROPERTY(QString approxText READ approxText NOTIFY changed)
    Q_PROPERTY(QString approxTooltip READ approxTooltip CONSTANT)
    Q_PROPERTY(QString arpaText READ arpaText NOTIFY changed)
    Q_PROPERTY(QString customersText READ customersText NOTIFY changed)
    Q_PROPERTY(QString logoChurnText READ logoChurnText NOTIFY changed)
    Q_PROPERTY(QString netMrrChurnText READ netMrrChurnText NOTIFY changed)
    Q_PROPERTY(bool hasGoal READ hasGoal NOTIFY changed)
    Q_PROPERTY(QString goalText READ goalText NOTIFY changed)
    Q_PROPERTY(QString goalEtaText READ goalEtaText NOTIFY changed)
    // What the pane and the tray tooltip say of the goal: the ETA, or the goal when there is none.
    Q_PROPERTY(QString goalLine READ goalLine NOTIFY changed)
    Q_PROPERTY(QString goalInput READ goalInput NOTIFY changed)
    Q_PROPERTY(QString goalCurrency READ goalCurrency NOTIFY changed)
    Q_PROPERTY(QString goalError READ goalError NOTIFY changed)
    Q_PROPERTY(QString listTitle READ listTitle NOTIFY changed)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY changed)
    Q_PROPERTY(int rowTotal READ rowTotal NOTIFY changed)
    Q_PROPERTY(QString exportStatus READ exportStatus NOTIFY exportStatusChanged)
    Q_PROPERTY(ChoiceListModel *kinds READ kinds CONSTANT)
    // The amounts under the kinds, in the same order.
    Q_PROPERTY(QStringList kindAmounts READ kindAmounts NOTIFY changed)
    Q_PROPERTY(QList<QColor> kindColors READ kindColors CONSTANT)
    Q_PROPERTY(MrrChartModel *chart READ chart CONSTANT)

public:
    enum Role {
        DisplayNameRole = Qt::UserRole + 1,
        KindTextRole,
        KindColorRole,
        ChangeTextRole,
        FromToTextRole,
        ApproxRole,
        LetterRole,
        LetterColorRole,
    };

    MrrModel(RevenueEngine *engine, QLocale locale, QObject *parent = nullptr);
    ~MrrModel() override;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    bool hasData() const;
    bool isLoading() const;
    QString errorText() const;
    QString mrrText() const;
    QString entryText() const;
    QString arrText() const;
    QString netNewText() const;
    QColor netNewColor() const;
    QString approxText() const;
    QString approxTooltip() const;
    QString arpaText() const;
    QString customersText() const;
    QString logoChurnText() const;
    QString netMrrChurnText() const;
    bool hasGoal() const;
    QString goalText() const;
    QString goalEtaText() const;
    QString goalLine() const;
    QString goalInput() const;
    QString goalCurrency() const;
    QString goalError() const { return m_goalError; }
    QString listTitle() const;
    QString emptyText() const;
    int rowTotal() const { return static_cast<int>(m_rows.size()); }
    QString exportStatus() const { return m_exportStatus; }
    ChoiceListModel *kinds() { return &m_kinds; }
    QStringList kindAmounts() const;
    QList<QColor> kindColors() const;
    MrrChartModel *chart() { return &m_chart; }
    const QList<CustomerMovement> &rows() const { return m_rows; }

    // The goal as typed in the dashboard currency; empty clears it. False (with goalError)
    // for text that is no amount.
    Q_INVOKABLE bool setGoal(const QString &text);
    // Asks where to save, then writes the listed movements.
    Q_INVOKABLE void exportCsv();
    // The writing half, without the dialog.
    bool writeCsv(const QString &path);
    void rebuild();

Q_SIGNALS:
    void changed();
    void exportStatusChanged();

private:
    const MrrState &state() const;
    bool isEstimated(const QUuid &accountId) const;
    void setExportStatus(const QString &status);

    RevenueEngine *m_engine;
    QLocale m_locale;
    std::optional<MrrMovementKind> m_filter;
    QList<CustomerMovement> m_rows;
    QSet<QUuid> m_estimatedAccounts; // PayPal's, whose MRR is an estimate
    ChoiceListModel m_kinds;
    MrrChartModel m_chart;
    QString m_goalError;
    QString m_exportStatus;
    QPointer<QFileDialog> m_dialog;
};
