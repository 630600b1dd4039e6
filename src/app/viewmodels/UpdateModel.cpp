#include "UpdateModel.h"

#include "update/UpdateChecker.h"

using namespace Qt::StringLiterals;

UpdateModel::UpdateModel(UpdateChecker *checker, QObject *parent)
    : QObject(parent)
    , m_checker(checker)
{
    connect(checker, &UpdateChecker::stateChanged, this, &UpdateModel::changed);
}

bool UpdateModel::isBlocked() const
{
    return m_checker && m_checker->isBlocked();
}

bool UpdateModel::hasOptionalUpdate() const
{
    return m_checker && m_checker->hasOptionalUpdate();
}

QString UpdateModel::versionText() const
{
    return u"v"_s + (m_checker ? m_checker->currentVersion() : QString());
}

QString UpdateModel::currentVersionText() const
{
    return u"Current: "_s + versionText();
}

QString UpdateModel::statusText() const
{
    if (!m_checker || !m_checker->isEnabled())
        return u"Quorvane does not check for updates by itself."_s;
    if (m_checker->isBlocked())
        return u"An update is required."_s;
    if (m_checker->hasOptionalUpdate())
        return u"Version %1 is available."_s.arg(m_checker->latestVersion().value_or(QString()));
    if (m_checker->hasAnswer())
        return u"Quorvane is up to date."_s;
    return u"Not checked for updates yet."_s;
}

QString UpdateModel::statusSymbol() const
{
    if (isBlocked() || hasOptionalUpdate())
        return u"arrow.up.circle"_s;
    return m_checker && m_checker->isEnabled() && m_checker->hasAnswer() ? u"checkmark.circle.fill"_s : u"info.circle"_s;
}

QString UpdateModel::blockingText() const
{
    const auto message = m_checker ? m_checker->blockingMessage() : std::nullopt;
    return message && !message->trimmed().isEmpty() ? *message : u"A newer version of Quorvane is required to continue."_s;
}

QString UpdateModel::bannerText() const
{
    return u"New version: "_s + (m_checker ? m_checker->latestVersion().value_or(QString()) : QString());
}

QString UpdateModel::releaseNotes() const
{
    return m_checker ? m_checker->releaseNotes().value_or(QString()) : QString();
}

QString UpdateModel::downloadButtonText() const
{
    const auto latest = m_checker ? m_checker->latestVersion() : std::nullopt;
    return u"Download "_s + (latest && !latest->isEmpty() ? *latest : u"latest"_s);
}

QUrl UpdateModel::downloadUrl() const
{
    return m_checker ? m_checker->downloadURL().value_or(QUrl()) : QUrl();
}

bool UpdateModel::hasDownload() const
{
    return m_checker && m_checker->downloadURL().has_value();
}
