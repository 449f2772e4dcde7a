#include "install/vinst/download/vinst_system_proxy.h"

#include <gtest/gtest.h>

#include <QTimer>
#include <QUrl>

#include <condition_variable>
#include <memory>
#include <mutex>

namespace
{

using namespace std::chrono_literals;

const QNetworkProxyQuery query(QUrl(QStringLiteral("https://downloads.example/")),
                               QNetworkProxyQuery::UrlRequest);

QList<QNetworkProxy> one_proxy(const QNetworkProxyQuery& asked)
{
    return {QNetworkProxy(QNetworkProxy::HttpProxy, asked.url().host(), 3128)};
}

/// A system that answers only when the test allows it.
class GATE
{
public:
    VINST_PROXY_LIST_QUERY query() const
    {
        return [state = m_state](const QNetworkProxyQuery& asked)
        {
            std::unique_lock lock(state->mutex);
            state->opened.wait(lock, [&] { return state->is_open; });
            return one_proxy(asked);
        };
    }
    void open() const
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->is_open = true;
        m_state->opened.notify_all();
    }
    GATE() = default;
    ~GATE() { open(); }
    GATE(const GATE&) = delete;
    GATE& operator=(const GATE&) = delete;

private:
    struct STATE
    {
        std::mutex mutex;
        std::condition_variable opened;
        bool is_open = false;
    };
    std::shared_ptr<STATE> m_state = std::make_shared<STATE>();
};

}

TEST(SystemProxy, IsTheSystemsAnswer)
{
    const QList<QNetworkProxy> found =
        ask_system_for_proxies(query, one_proxy, [] { return true; });
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found.first().hostName(), "downloads.example");
}

TEST(SystemProxy, IsWaitedForWhileEventsAreProcessed)
{
    const GATE gate;
    QTimer::singleShot(200, [&gate] { gate.open(); });
    const QList<QNetworkProxy> found =
        ask_system_for_proxies(query, gate.query(), [] { return true; });
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found.first().port(), 3128);
}

TEST(SystemProxy, IsNoneIfTheSystemDoesNotAnswerInTime)
{
    const GATE gate;
    EXPECT_TRUE(ask_system_for_proxies(
                    query, gate.query(), [] { return true; }, 100ms)
                    .isEmpty());
}

TEST(SystemProxy, IsNotWaitedForAfterAStop)
{
    const GATE gate;
    int looks = 0;
    const auto may_go_on = [&looks] { return ++looks < 3; };
    EXPECT_TRUE(ask_system_for_proxies(query, gate.query(), may_go_on, 10min).isEmpty());
    EXPECT_GE(looks, 3);
}
