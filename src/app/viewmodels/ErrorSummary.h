#pragma once

#include <QHash>
#include <QString>

// A refresh failure as the dashboard's banner and the tray show it: per account, a line in plain
// words that says what to do; under "Details" what that line leaves out (the HTTP status, the
// provider's code and message, the network's own wording).
struct ErrorSummary
{
    QString summary;
    QString details;
    // The first account whose key or credentials were refused or are missing: the banner offers
    // to edit it. Empty when trying again is all there is to do.
    QString accountToEdit;
    friend bool operator==(const ErrorSummary &, const ErrorSummary &) = default;
};

// `lastError` holds lines "[{account}] {error}" joined with " · "; `providers` names each
// account's provider ("Stripe", "PayPal") for the errors that do not.
ErrorSummary summarizeError(const QString &lastError, const QHash<QString, QString> &providers = {});
