#pragma once

#include "model/Preferences.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

class RevenueEngine;

// The general settings pane: one property per preference; every write saves the whole
// preferences record through the engine.
class GeneralSettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")

    Q_PROPERTY(bool showCaptured READ showCaptured WRITE setShowCaptured NOTIFY changed)
    Q_PROPERTY(bool showFailed READ showFailed WRITE setShowFailed NOTIFY changed)
    Q_PROPERTY(bool showRefunds READ showRefunds WRITE setShowRefunds NOTIFY changed)
    Q_PROPERTY(bool showPayouts READ showPayouts WRITE setShowPayouts NOTIFY changed)
    Q_PROPERTY(bool showNewSubscriptions READ showNewSubscriptions WRITE setShowNewSubscriptions NOTIFY changed)
    Q_PROPERTY(bool showCanceledSubscriptions READ showCanceledSubscriptions WRITE setShowCanceledSubscriptions NOTIFY changed)
    Q_PROPERTY(bool showNotifications READ showNotifications WRITE setShowNotifications NOTIFY changed)
    Q_PROPERTY(bool saleSound READ saleSound WRITE setSaleSound NOTIFY changed)
    Q_PROPERTY(bool darkMode READ darkMode WRITE setDarkMode NOTIFY changed)
    Q_PROPERTY(bool startAtLogin READ startAtLogin WRITE setStartAtLogin NOTIFY changed)
    Q_PROPERTY(bool trayShowsMrr READ trayShowsMrr WRITE setTrayShowsMrr NOTIFY changed)
    Q_PROPERTY(bool mrrCountsTrials READ mrrCountsTrials WRITE setMrrCountsTrials NOTIFY changed)

    Q_PROPERTY(QStringList currencyLabels READ currencyLabels CONSTANT)
    Q_PROPERTY(int currencyIndex READ currencyIndex WRITE setCurrencyIndex NOTIFY changed)
    Q_PROPERTY(int refreshSeconds READ refreshSeconds NOTIFY changed)
    Q_PROPERTY(QString refreshLabel READ refreshLabel NOTIFY changed)
    Q_PROPERTY(bool canStepDown READ canStepDown NOTIFY changed)
    Q_PROPERTY(bool canStepUp READ canStepUp NOTIFY changed)

public:
    static constexpr int minimumRefresh = 30;
    static constexpr int maximumRefresh = 600;
    static constexpr int refreshStep = 30;
    // The stepper's next value from `current` in `direction` (+1 or -1), kept in bounds.
    static qint64 steppedRefresh(qint64 current, int direction);

    explicit GeneralSettingsModel(RevenueEngine *engine, QObject *parent = nullptr);

    bool showCaptured() const;
    void setShowCaptured(bool value);
    bool showFailed() const;
    void setShowFailed(bool value);
    bool showRefunds() const;
    void setShowRefunds(bool value);
    bool showPayouts() const;
    void setShowPayouts(bool value);
    bool showNewSubscriptions() const;
    void setShowNewSubscriptions(bool value);
    bool showCanceledSubscriptions() const;
    void setShowCanceledSubscriptions(bool value);
    bool showNotifications() const;
    void setShowNotifications(bool value);
    bool saleSound() const;
    void setSaleSound(bool value);
    bool darkMode() const;
    void setDarkMode(bool value);
    bool startAtLogin() const;
    void setStartAtLogin(bool value);
    bool trayShowsMrr() const;
    void setTrayShowsMrr(bool value);
    bool mrrCountsTrials() const;
    void setMrrCountsTrials(bool value);

    QStringList currencyLabels() const;
    int currencyIndex() const; // -1 for a stored code outside the menu
    void setCurrencyIndex(int index);
    int refreshSeconds() const;
    QString refreshLabel() const;
    bool canStepDown() const;
    bool canStepUp() const;
    Q_INVOKABLE void stepRefresh(int direction);

Q_SIGNALS:
    void changed();

private:
    void edit(const std::function<void(Preferences &)> &change);
    RevenueEngine *m_engine;
};
