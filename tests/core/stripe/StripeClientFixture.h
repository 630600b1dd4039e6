#pragma once

#include "stripe/StripeClient.h"
#include "support/FakeHttpServer.h"
#include "support/StripeBodies.h"
#include "support/TestUtil.h"

#include <QCoroTask>
#include <QJsonArray>
#include <gtest/gtest.h>

// A client pointed at a loopback server that fails the test on any request not scripted.
class StripeClientTest : public ::testing::Test
{
protected:
    static constexpr const char *key = "rk_test_51Abc";

    void TearDown() override
    {
        for (const RecordedRequest &r : server.unexpected())
            ADD_FAILURE() << "unexpected request " << r.method.toStdString() << ' ' << r.path.toStdString() << '?'
                          << r.rawQuery.toStdString();
    }

    StripeClient client(const QString &restrictedKey = QString::fromLatin1(key)) const
    {
        Account account = Account::newAccount(AccountProvider::Stripe);
        account.name = QStringLiteral("Acme");
        account.stripeRestrictedKey = restrictedKey;
        return StripeClient(account, server.baseUrl());
    }

    FakeHttpServer server;
};
