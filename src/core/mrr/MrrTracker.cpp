#include "MrrTracker.h"

#include "mrr/MrrHistory.h"

struct MrrTracker::Inputs
{
};

MrrTracker::MrrTracker(MrrEnvironment environment, QObject *parent)
    : QObject(parent)
    , m_env(std::move(environment))
    , m_inputs(std::make_unique<Inputs>())
{
}

MrrTracker::~MrrTracker() = default;

QString MrrTracker::label(QStringView) const
{
    return {};
}

void MrrTracker::setSettings(const MrrSettings &settings)
{
    m_settings = settings;
}

void MrrTracker::startRefresh(const QList<Account> &, const QList<PaymentEvent> &, bool)
{
}

QCoro::Task<> MrrTracker::refresh(QList<Account>, QList<PaymentEvent>, bool, CancellationToken)
{
    co_return;
}

void MrrTracker::recompute()
{
}

void MrrTracker::publish(MrrState state)
{
    m_state = std::move(state);
    Q_EMIT stateChanged();
}
