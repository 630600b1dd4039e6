#include "CopiedEmail.h"

#include <QClipboard>
#include <QGuiApplication>

CopiedEmail::CopiedEmail(int lasts)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(lasts);
    connect(&m_timer, &QTimer::timeout, this, &CopiedEmail::clear);
}

void CopiedEmail::copy(const std::optional<QString> &email)
{
    if (!email || email->isEmpty())
        return;
    if (QClipboard *clipboard = QGuiApplication::clipboard())
        clipboard->setText(*email);
    m_email = email;
    m_timer.start();
    Q_EMIT changed();
}

void CopiedEmail::clear()
{
    m_timer.stop();
    if (!m_email)
        return;
    m_email.reset();
    Q_EMIT changed();
}
