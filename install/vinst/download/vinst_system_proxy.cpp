#include "install/vinst/download/vinst_system_proxy.h"

#include "install/vinst/base/vinst_messages.h"

#include <QEventLoop>
#include <QTimer>

#include <future>
#include <thread>
#include <utility>

namespace
{

using ANSWER = std::future<QList<QNetworkProxy>>;

constexpr std::chrono::milliseconds usual_time{20};
constexpr std::chrono::milliseconds look_interval{50};

bool is_there(const ANSWER& answer, std::chrono::milliseconds at_most)
{
    return answer.wait_for(at_most) == std::future_status::ready;
}

/// Not by std::async, whose future would wait for the thread at its end.
ANSWER start(const QNetworkProxyQuery& query, const VINST_PROXY_LIST_QUERY& ask)
{
    std::packaged_task<QList<QNetworkProxy>()> task([query, ask] { return ask(query); });
    ANSWER answer = task.get_future();
    std::thread(std::move(task)).detach();
    return answer;
}

}

QList<QNetworkProxy> ask_system_for_proxies(const QNetworkProxyQuery& query,
                                            const VINST_PROXY_LIST_QUERY& ask,
                                            const std::function<bool()>& may_go_on,
                                            std::chrono::milliseconds at_most)
{
    ANSWER answer = start(query, ask);
    if (is_there(answer, usual_time))
        return answer.get();
    QEventLoop loop;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop,
                     [&]
                     {
                         if (is_there(answer, std::chrono::milliseconds(0)) || !may_go_on())
                             loop.quit();
                     });
    look.start(look_interval);
    QTimer::singleShot(at_most, &loop, &QEventLoop::quit);
    loop.exec();
    if (is_there(answer, std::chrono::milliseconds(0)))
        return answer.get();
    if (may_go_on())
        run_log().info("The system's proxy settings are ignored: the answer takes too long");
    return {};
}
