#include "GeneralSettingsModel.h"

#include "engine/RevenueEngine.h"
#include "model/CurrencyConverter.h"

using namespace Qt::StringLiterals;

GeneralSettingsModel::GeneralSettingsModel(RevenueEngine *engine, QObject *parent)
    : QObject(parent)
    , m_engine(engine)
{
    connect(engine, &RevenueEngine::preferencesChanged, this, &GeneralSettingsModel::changed);
}

void GeneralSettingsModel::edit(const std::function<void(Preferences &)> &change)
{
    Preferences p = m_engine->preferences();
    change(p);
    m_engine->setPreferences(p);
}

bool GeneralSettingsModel::showCaptured() const
{
    return m_engine->preferences().showCaptured;
}

void GeneralSettingsModel::setShowCaptured(bool value)
{
    edit([value](Preferences &p) { p.showCaptured = value; });
}

bool GeneralSettingsModel::showFailed() const
{
    return m_engine->preferences().showFailed;
}

void GeneralSettingsModel::setShowFailed(bool value)
{
    edit([value](Preferences &p) { p.showFailed = value; });
}

bool GeneralSettingsModel::showRefunds() const
{
    return m_engine->preferences().showRefunds;
}

void GeneralSettingsModel::setShowRefunds(bool value)
{
    edit([value](Preferences &p) { p.showRefunds = value; });
}

bool GeneralSettingsModel::showPayouts() const
{
    return m_engine->preferences().showPayouts;
}

void GeneralSettingsModel::setShowPayouts(bool value)
{
    edit([value](Preferences &p) { p.showPayouts = value; });
}

bool GeneralSettingsModel::showNewSubscriptions() const
{
    return m_engine->preferences().showNewSubscriptions;
}

void GeneralSettingsModel::setShowNewSubscriptions(bool value)
{
    edit([value](Preferences &p) { p.showNewSubscriptions = value; });
}

bool GeneralSettingsModel::showCanceledSubscriptions() const
{
    return m_engine->preferences().showCanceledSubscriptions;
}

void GeneralSettingsModel::setShowCanceledSubscriptions(bool value)
{
    edit([value](Preferences &p) { p.showCanceledSubscriptions = value; });
}

bool GeneralSettingsModel::showNotifications() const
{
    return m_engine->preferences().showNotifications;
}

void GeneralSettingsModel::setShowNotifications(bool value)
{
    edit([value](Preferences &p) { p.showNotifications = value; });
}

bool GeneralSettingsModel::saleSound() const
{
    return m_engine->preferences().saleSound;
}

void GeneralSettingsModel::setSaleSound(bool value)
{
    edit([value](Preferences &p) { p.saleSound = value; });
}

bool GeneralSettingsModel::darkMode() const
{
    return m_engine->preferences().darkMode;
}

void GeneralSettingsModel::setDarkMode(bool value)
{
    edit([value](Preferences &p) { p.darkMode = value; });
}

bool GeneralSettingsModel::startAtLogin() const
{
    return m_engine->preferences().startAtLogin;
}

void GeneralSettingsModel::setStartAtLogin(bool value)
{
    edit([value](Preferences &p) { p.startAtLogin = value; });
}

bool GeneralSettingsModel::trayShowsMrr() const
{
    return m_engine->preferences().menubarShowsMrr;
}

void GeneralSettingsModel::setTrayShowsMrr(bool value)
{
    edit([value](Preferences &p) { p.menubarShowsMrr = value; });
}

bool GeneralSettingsModel::mrrCountsTrials() const
{
    return m_engine->preferences().mrrCountTrials;
}

void GeneralSettingsModel::setMrrCountsTrials(bool value)
{
    edit([value](Preferences &p) { p.mrrCountTrials = value; });
}

qint64 GeneralSettingsModel::steppedRefresh(qint64 current, int direction)
{
    const qint64 next = current + (direction >= 0 ? refreshStep : -refreshStep);
    return std::clamp<qint64>(next, minimumRefresh, maximumRefresh);
}

QStringList GeneralSettingsModel::currencyLabels() const
{
    QStringList out;
    for (const auto &[code, label] : CurrencyConverter::dashboardCurrencies())
        out.append(label);
    return out;
}

int GeneralSettingsModel::currencyIndex() const
{
    const auto &currencies = CurrencyConverter::dashboardCurrencies();
    const QString current = m_engine->preferences().dashboardCurrency.toUpper();
    for (int i = 0; i < currencies.size(); ++i)
        if (currencies.at(i).first == current)
            return i;
    return -1;
}

void GeneralSettingsModel::setCurrencyIndex(int index)
{
    const auto &currencies = CurrencyConverter::dashboardCurrencies();
    if (index < 0 || index >= currencies.size())
        return;
    const QString code = currencies.at(index).first;
    edit([code](Preferences &p) { p.dashboardCurrency = code; });
}

int GeneralSettingsModel::refreshSeconds() const
{
    return static_cast<int>(m_engine->preferences().refreshSeconds);
}

QString GeneralSettingsModel::refreshLabel() const
{
    return u"Every %1 seconds"_s.arg(m_engine->preferences().refreshSeconds);
}

bool GeneralSettingsModel::canStepDown() const
{
    return m_engine->preferences().refreshSeconds > minimumRefresh;
}

bool GeneralSettingsModel::canStepUp() const
{
    return m_engine->preferences().refreshSeconds < maximumRefresh;
}

void GeneralSettingsModel::stepRefresh(int direction)
{
    const qint64 next = steppedRefresh(m_engine->preferences().refreshSeconds, direction);
    edit([next](Preferences &p) { p.refreshSeconds = next; });
}
