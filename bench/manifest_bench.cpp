#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_parser.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace
{

constexpr int rounds = 5;

/// A component with all keys, a parent, and dependencies before and after it.
QJsonObject component(int number, int count)
{
    const auto name = [](int n) { return "component_" + QString::number(n); };
    const QString own = name(number);
    return {{"data_type", "download"},
            {"name", own},
            {"platform", number % 2 == 0 ? "linux" : "windows"},
            {"filename", own + ".run"},
            {"title", "Component " + QString::number(number)},
            {"desc", "What the component is for, in a sentence or two that a user reads."},
            {"md5sum", "0123456789abcdef0123456789abcdef"},
            {"sha1sum", "0123456789abcdef0123456789abcdef01234567"},
            {"size", 1000000.0 + number},
            {"downloadsize_str", "1.0 MB"},
            {"installsize", 3000000.0 + number},
            {"installsize_str", "3.0 MB"},
            {"parent", number < 20 ? QString() : name(number - number % 20 + number % 2 - 20)},
            {"dependency", QJsonArray{name(number % 2), name((number + 2) % count)}},
            {"selected", 1}};
}

QString write_manifest(const QString& dir, int count)
{
    QJsonArray elements{QJsonObject{{"data_type", "main"},
                                    {"edition", "pro"},
                                    {"version", "5.2.0.31"},
                                    {"download_url", "http://127.0.0.1/release"}}};
    for (int number = 0; number < count; ++number)
        elements.append(component(number, count));
    const QString path = dir + "/manifest_" + QString::number(count) + ".json";
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(elements).toJson()) < 0)
        std::fprintf(stderr, "Cannot write %s\n", qPrintable(path));
    return path;
}

/// Milliseconds; negative if the loaded release doesn't match the manifest.
double loading_time(const QString& path, int count)
{
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round)
    {
        int messages = 0;
        QElapsedTimer timer;
        timer.start();
        const auto release = parse_manifest(path, [&messages](const QByteArray&) { ++messages; });
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        if (release == nullptr || messages != 0 ||
            release->components().size() != static_cast<std::size_t>(count))
            return -1;
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}

int main()
{
    const QTemporaryDir dir;
    double previous = 0;
    for (const int count : {1000, 10000, 100000})
    {
        const double time = loading_time(write_manifest(dir.path(), count), count);
        if (time < 0)
        {
            std::fprintf(stderr, "The manifest of %d components did not load\n", count);
            return 1;
        }
        std::printf("%6d components: %8.1f ms", count, time);
        if (previous > 0)
            std::printf(", %.1f x the time of a tenth of them", time / previous);
        std::printf("\n");
        previous = time;
    }
    return 0;
}
