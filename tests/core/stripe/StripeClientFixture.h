#pragma once

#include "stripe/StripeClient.h"
#include "support/FakeHttpServer.h"
#include "support/StripeBodies.h"

#include <QCoroTask>
#include <QJsonArray>
#include <QJsonDocument>
#include <gtest/gtest.h>

template<typename T>
QCoro::Task<> storeInto(QCoro::Task<T> task, std::optional<T> &out)
{
    out.emplace(co_await std::move(task));
}

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

    // QCoro::waitFor wants a default-constructible result, which Result is not.
    template<typename T>
    static T run(QCoro::Task<T> &&task)
    {
        std::optional<T> out;
        QCoro::waitFor(storeInto(std::move(task), out));
        return std::move(*out);
    }

    static QByteArray json(const QJsonObject &object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

    FakeHttpServer server;
};

// The value of "starting_after" in a recorded request, empty for a first page.
inline QString startingAfter(const RecordedRequest &request)
{
    for (const auto &[name, value] : request.queryItems())
        if (name == QLatin1StringView("starting_after"))
            return value;
    return {};
}
