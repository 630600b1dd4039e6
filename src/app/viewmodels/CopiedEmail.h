#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <optional>

// The e-mail a pane has just put on the clipboard: its rows say "Copied!" while the mark
// lasts. Copying again, the same address or another, starts the moment afresh.
class CopiedEmail : public QObject
{
    Q_OBJECT
public:
    static constexpr int lastsMs = 1600;

    explicit CopiedEmail(int lasts = lastsMs);

    // Puts `email` on the clipboard and marks it; without an address nothing happens.
    void copy(const std::optional<QString> &email);
    void clear();
    bool marks(const std::optional<QString> &email) const { return m_email && m_email == email; }

Q_SIGNALS:
    void changed();

private:
    std::optional<QString> m_email;
    QTimer m_timer;
};
