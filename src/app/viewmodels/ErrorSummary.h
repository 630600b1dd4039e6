#pragma once

#include <QString>

// A refresh failure as the dashboard's banner shows it: one short line per account (the
// provider's own message pulled out of a JSON error body), and the whole text for "Details".
struct ErrorSummary
{
    QString summary;
    QString details;
    friend bool operator==(const ErrorSummary &, const ErrorSummary &) = default;
};

// `lastError` holds lines "[{account}] {error}" joined with " · ".
ErrorSummary summarizeError(const QString &lastError);
