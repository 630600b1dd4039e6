#pragma once

#include "engine/DrillDown.h"
#include "viewmodels/ChoiceListModel.h"
#include "viewmodels/CopiedEmail.h"

#include <QAbstractListModel>
#include <QColor>
#include <QLocale>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class RevenueEngine;
class QFileDialog;

// The decisions behind the drill-down's texts, as pure functions.
namespace DrillDownLogic {

QString title(RevenueKind kind);     // "New customers"
QString countWord(RevenueKind kind); // "new", "renewal", ...
// "3 unique customers · 5 events"
QString summaryLine(qsizetype groups, qsizetype events);
// "No refunds in this range."
QString emptyText(RevenueKind kind);
// "new-customers-2026-11-20.csv"
QString suggestedFileName(const QString &what, RevenueKind kind, QDate today);
// Where the save dialog starts: the first of `folders` (Documents, Downloads, home) that exists.
QString exportFolder(const QStringList &folders);
// Writes the whole file or nothing: none on success, else the reason.
std::optional<QString> writeFile(const QString &path, const QByteArray &bytes);

} // namespace DrillDownLogic

// One kind's customers in the selected range and account filter, biggest first, with the
// "Copied!" state and the CSV exports.
class DrillDownModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")
    Q_PROPERTY(QString kind READ kindName WRITE setKindName NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString totalText READ totalText NOTIFY changed)
    Q_PROPERTY(QString summaryLine READ summaryLine NOTIFY changed)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY changed)
    Q_PROPERTY(int groupCount READ groupCount NOTIFY changed)
    Q_PROPERTY(QString exportStatus READ exportStatus NOTIFY exportStatusChanged)
    // The file the last export wrote, or empty: "Show in folder" leads to it.
    Q_PROPERTY(QString savedFile READ savedFile NOTIFY exportStatusChanged)
    // Every kind, the shown one checked: the tiles open three, this leads to all five.
    Q_PROPERTY(ChoiceListModel *kinds READ kinds CONSTANT)

public:
    enum Role {
        DisplayNameRole = Qt::UserRole + 1,
        HasEmailRole,
        CopiedRole,
        CountLineRole,
        DateLabelRole,
        AmountTextRole,
        AmountColorRole,
        LetterRole,
        LetterColorRole,
        IconSourceRole,
        LinkUrlRole,
    };

    DrillDownModel(RevenueEngine *engine, QLocale locale, QObject *parent = nullptr);
    ~DrillDownModel() override;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    RevenueKind kind() const { return m_kind; }
    void setKind(RevenueKind kind);
    QString kindName() const;
    void setKindName(const QString &raw);
    QString title() const { return DrillDownLogic::title(m_kind); }
    QString totalText() const;
    QString summaryLine() const;
    QString emptyText() const { return DrillDownLogic::emptyText(m_kind); }
    int groupCount() const { return static_cast<int>(m_groups.size()); }
    const QList<CustomerGroup> &groups() const { return m_groups; }
    QString exportStatus() const { return m_exportStatus; }
    QString savedFile() const { return m_savedFile; }
    Q_INVOKABLE void showSavedFile();
    ChoiceListModel *kinds() { return &m_kinds; }

    Q_INVOKABLE void copyEmail(int row);
    // Asks where to save, in the platform's save dialog, then writes. `what` is "customers"
    // (one row per customer of this list) or "events" (every event of the range).
    Q_INVOKABLE void exportCsv(const QString &what);
    // The writing half, without the dialog.
    bool writeCsv(const QString &what, const QString &path);
    void rebuild();

Q_SIGNALS:
    void changed();
    void exportStatusChanged();
    void kindRequested(const QString &kind); // chosen among `kinds`: for the navigation to open
    // The save dialog has closed, saved or not: the panel it may have hidden comes back.
    void exportDialogClosed();
    void showInFolderRequested(const QString &path);

private:
    QList<qsizetype> rangeEvents(std::optional<RevenueKind> kind) const;
    void setExportStatus(const QString &status);

    RevenueEngine *m_engine;
    QLocale m_locale;
    RevenueKind m_kind = RevenueKind::New;
    DrillDown::CustomerIndex m_customers; // of the engine's feed, dropped when it changes
    QList<CustomerGroup> m_groups; // positions into the engine's feed, rebuilt when it changes
    qsizetype m_eventCount = 0;
    CopiedEmail m_copied;
    QHash<QString, QString> m_iconByAccountName;
    QString m_exportStatus;
    QString m_savedFile;
    ChoiceListModel m_kinds;
    QPointer<QFileDialog> m_dialog;
};
