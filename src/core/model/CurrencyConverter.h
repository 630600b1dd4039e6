#pragma once

#include <QList>
#include <QString>
#include <utility>

// Static US-dollar rates, compact amount formatting and privacy masking. No rates are
// fetched: totals across accounts are normalised with this fixed table.
namespace CurrencyConverter {

// US dollars per unit, keyed by lower-case code; nullopt when the code is not in the table.
std::optional<double> rate(QStringView code);
std::optional<QString> symbol(QStringView code);

// Used for usdAmount: an unknown currency adds nothing (0).
double toUSD(double amount, QStringView code);
// Display conversions: an unknown currency uses the rate 1.0.
double fromUSD(double usd, QStringView code);
double nativeToUSDForDisplay(double amount, QStringView code);

// Major units per minor unit for amounts that providers send as integers: 1 for the
// zero-decimal currencies (JPY, KRW, ...), 100 for the others.
double minorUnitFactor(QStringView code);
double fromMinorUnits(qint64 minorUnits, QStringView code);

QString formatCompact(double usdAmount, QStringView code);
QString mask(QStringView code);
QString maskEmail(QStringView email);
// Free text with every money amount in it masked and the rest kept: "1 × Pro (at $49.00 /
// month)" → "1 × Pro (at $•••• / month)". An amount is a number next to a currency sign,
// code or word ("€49", "10,00 EUR", "100 kr"), or a number with two decimals ("49.99").
QString maskAmounts(QStringView text);

// The dashboard currencies, in menu order: ("USD", "USD – US Dollar"), ...
const QList<std::pair<QString, QString>> &dashboardCurrencies();

} // namespace CurrencyConverter
