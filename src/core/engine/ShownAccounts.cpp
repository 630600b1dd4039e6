// What the accounts show: the enabled accounts' events, days and at-risk rows. A removed
// account takes everything it brought with it at once; a disabled one hides it.
#include "RevenueEngine.h"

#include "storage/AccountsMerge.h"

namespace {

QSet<QUuid> enabledIdsOf(const QList<Account> &accounts)
{
    QSet<QUuid> ids;
    for (const Account &a : accounts)
        if (a.enabled)
            ids.insert(a.id);
    return ids;
}

} // namespace

void RevenueEngine::setFeed(QList<PaymentEvent> feed)
{
    // A load or a fill that ends after its account was removed brings events nobody owns.
    // With the accounts file damaged, the feed is the only record of the lost accounts.
    if (!accountsDamaged()) {
        const QSet<QUuid> known = AccountsMerge::idsOf(m_accounts);
        feed.removeIf([&](const PaymentEvent &e) { return !known.contains(e.accountId); });
    }
    m_feed = std::move(feed);
    showFeed();
}

void RevenueEngine::showFeed()
{
    const QSet<QUuid> enabled = enabledIdsOf(m_accounts);
    const QSet<QUuid> known = AccountsMerge::idsOf(m_accounts);
    const bool hidesAny = std::any_of(m_feed.cbegin(), m_feed.cend(), [&](const PaymentEvent &e) {
        return known.contains(e.accountId) && !enabled.contains(e.accountId);
    });
    if (!hidesAny) {
        m_shownFeed = m_feed; // shared, not copied
    } else {
        m_shownFeed.clear();
        for (const PaymentEvent &e : std::as_const(m_feed))
            if (!known.contains(e.accountId) || enabled.contains(e.accountId))
                m_shownFeed.append(e);
    }
    if (enabled.isEmpty() && m_shownFeed.isEmpty() && !accountsDamaged())
        assign(m_dailyBuckets, QList<DailyBucket>(), &RevenueEngine::dailyBucketsChanged); // not 95 empty days
    else
        rebuildBucketsFromFeed();
    Q_EMIT feedChanged();
}

void RevenueEngine::dropAtRiskOf(const QUuid &accountId)
{
    QList<AtRiskSub> kept = m_atRiskSubs;
    kept.removeIf([&](const AtRiskSub &sub) { return sub.accountId == accountId; });
    assign(m_atRiskSubs, kept, &RevenueEngine::atRiskSubsChanged);
    // Results are kept by subscription only: those of rows no longer listed go too, the
    // account's own among them.
    QSet<QString> listed;
    for (const AtRiskSub &sub : std::as_const(kept))
        listed.insert(sub.id);
    if (m_retryResults.removeIf([&](auto it) { return !listed.contains(it.key()); }) > 0)
        Q_EMIT retryResultsChanged();
    // A failed listing of an account no longer listed has nothing left to report or wait for.
    if (m_atRiskBackoff.forget(accountId.toString()))
        Q_EMIT lastErrorChanged();
}

void RevenueEngine::forgetAccount(const QUuid &accountId)
{
    dropAtRiskOf(accountId);
    setFeed(m_feed);
    // A failed write leaves the events on disk; the next refresh writes the feed without them.
    noteSave(SaveFailures::File::Feed, m_env.storage.saveFeed(m_feed));
    if (m_syncState.remove(accountId))
        noteSave(SaveFailures::File::SyncState, m_env.storage.saveSyncState(m_syncState));
    QHash<QUuid, qsizetype> skipped = m_skippedRecords;
    skipped.remove(accountId);
    assign(m_skippedRecords, skipped, &RevenueEngine::skippedRecordsChanged);
    QSet<QUuid> missingScope = m_missingEventScopeAccounts;
    missingScope.remove(accountId);
    assign(m_missingEventScopeAccounts, missingScope, &RevenueEngine::missingEventScopeAccountsChanged);
    if (m_selectedAccountFilter == accountId)
        setSelectedAccountFilter(std::nullopt);
}
