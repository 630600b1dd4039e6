#pragma once

#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

class UpdateChecker;

// The update checker as the about pane, the optional-update banner and the update-required
// view show it: every text is composed here.
class UpdateModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")
    Q_PROPERTY(bool isBlocked READ isBlocked NOTIFY changed)
    Q_PROPERTY(bool hasOptionalUpdate READ hasOptionalUpdate NOTIFY changed)
    Q_PROPERTY(QString versionText READ versionText CONSTANT)
    Q_PROPERTY(QString currentVersionText READ currentVersionText CONSTANT)
    Q_PROPERTY(QString statusText READ statusText NOTIFY changed)
    Q_PROPERTY(QString statusSymbol READ statusSymbol NOTIFY changed)
    Q_PROPERTY(QString blockingText READ blockingText NOTIFY changed)
    Q_PROPERTY(QString bannerText READ bannerText NOTIFY changed)
    Q_PROPERTY(QString releaseNotes READ releaseNotes NOTIFY changed)
    Q_PROPERTY(QString downloadButtonText READ downloadButtonText NOTIFY changed)
    Q_PROPERTY(QUrl downloadUrl READ downloadUrl NOTIFY changed)
    Q_PROPERTY(bool hasDownload READ hasDownload NOTIFY changed)

public:
    explicit UpdateModel(UpdateChecker *checker, QObject *parent = nullptr);

    bool isBlocked() const;
    bool hasOptionalUpdate() const;
    // "v0.1.0" for the about pane; "Current: v0.1.0" for the update-required view.
    QString versionText() const;
    QString currentVersionText() const;
    // The about pane's one line on updates.
    QString statusText() const;
    QString statusSymbol() const;
    QString blockingText() const;
    // "New version: 1.6.0", nothing after the colon when the version is unknown.
    QString bannerText() const;
    QString releaseNotes() const;
    // "Download 1.6.0", or "Download latest" when the version is unknown.
    QString downloadButtonText() const;
    QUrl downloadUrl() const;
    bool hasDownload() const;

Q_SIGNALS:
    void changed();

private:
    QPointer<UpdateChecker> m_checker;
};
