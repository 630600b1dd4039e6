#pragma once

#include "support/StripeListing.h"

#include <QElapsedTimer>
#include <QList>
#include <QMutex>
#include <QThread>
#include <QUrl>
#include <atomic>

// A Stripe on 127.0.0.1 for benchmarks: its own thread, HTTP/1.1 with keep-alive, /v1/events,
// /v1/invoice_payments and /v1/subscriptions answered from a fixed listing after an added
// latency, every other path an empty list. It counts what a rate limiter would see.
class LoopbackStripe
{
public:
    LoopbackStripe(const StripeListing &listing, int latencyMs);
    ~LoopbackStripe();

    QUrl baseUrl() const { return m_baseUrl; }

    void resetCounts();
    int requests() const;
    int peakInFlight() const { return m_peakInFlight; }
    // The most requests that arrived within any one second (or any `windowMs`).
    int peakPerSecond(int windowMs = 1000) const;

private:
    friend class LoopbackStripeWorker;
    void arrived();
    void answered() { --m_inFlight; }

    const StripeListing &m_listing;
    int m_latencyMs;
    QThread m_thread;
    QUrl m_baseUrl;
    QElapsedTimer m_clock;
    mutable QMutex m_mutex;
    QList<qint64> m_arrivals; // ms since start
    std::atomic<int> m_inFlight = 0;
    std::atomic<int> m_peakInFlight = 0;
};
