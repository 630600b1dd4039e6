#pragma once

#include "model/Account.h"

#include <QList>
#include <QSet>
#include <QUuid>

// Two processes may share one data folder. Before one writes the accounts file it reads it
// again and merges what the other wrote meanwhile, so neither loses the other's changes.
namespace AccountsMerge {

// `ours`: this process's accounts; `known`: the ids it last saw in the file; `onDisk`: the
// file now, `diskComplete` false when it did not decode whole. An account in the file that
// this process never saw was added elsewhere and is kept (after ours, in file order); one
// this process saw in the file but no longer has was removed here and stays removed; one it
// has and saw, but the file no longer holds, was removed elsewhere and goes, unless the file
// is damaged (a lost entry is no removal). Where both hold an account, ours wins.
QList<Account> merge(const QList<Account> &ours, const QSet<QUuid> &known, const QList<Account> &onDisk,
                     bool diskComplete);

QSet<QUuid> idsOf(const QList<Account> &accounts);

} // namespace AccountsMerge
