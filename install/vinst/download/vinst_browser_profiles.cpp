#include "install/vinst/download/vinst_browser_profiles.h"

#include "install/vinst/download/vinst_browser_preferences.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>

#include <algorithm>
#include <tuple>
#include <vector>

namespace
{

constexpr qint64 index_limit = 1024 * 1024; // bytes of profiles.ini

using SECTION = QMap<QString, QString>;

/// The sections of an INI file by their names.
QMap<QString, SECTION> sections_of(const QString& text)
{
    QMap<QString, SECTION> sections;
    QString name;
    for (const QString& raw : text.split('\n'))
    {
        const QString line = raw.trimmed();
        const int equals = line.indexOf('=');
        if (line.startsWith('[') && line.endsWith(']'))
            name = line.mid(1, line.size() - 2);
        else if (equals > 0 && !line.startsWith(';') && !line.startsWith('#'))
            sections[name][line.left(equals).trimmed()] = line.mid(equals + 1).trimmed();
    }
    return sections;
}

QString clean_path(const QString& root, const QString& path)
{
    return QDir::cleanPath(QDir(root).absoluteFilePath(path));
}

QString text_of(const QString& path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.read(index_limit));
}

/// A preference file, and what decides on its place.
struct RANKED_FILE
{
    QString path;
    int rank; ///< a higher one comes later
    QDateTime written;
};

bool comes_before(const RANKED_FILE& a, const RANKED_FILE& b)
{
    if (a.rank != b.rank || a.rank == 0)
        return a.rank < b.rank;
    return a.written < b.written;
}

void add_files(const QString& root, const std::function<bool()>& keep_looking,
               std::vector<RANKED_FILE>& files)
{
    VINST_DEFAULT_PROFILES defaults;
    for (const char* name : {"/profiles.ini", "/installs.ini"})
    {
        const VINST_DEFAULT_PROFILES found = default_profiles(text_of(root + name), root);
        defaults.of_installations += found.of_installations;
        defaults.of_old_versions += found.of_old_versions;
    }
    for (const QString& path : preference_files(root, keep_looking))
    {
        const QFileInfo file(path);
        const QString profile = QDir::cleanPath(file.absolutePath());
        const int rank = defaults.of_installations.contains(profile)  ? 2
                         : defaults.of_old_versions.contains(profile) ? 1
                                                                      : 0;
        files.push_back({path, rank, file.lastModified()});
    }
}

}

VINST_DEFAULT_PROFILES default_profiles(const QString& text, const QString& root)
{
    VINST_DEFAULT_PROFILES defaults;
    const QMap<QString, SECTION> sections = sections_of(text);
    for (auto it = sections.begin(); it != sections.end(); ++it)
    {
        const SECTION& section = it.value();
        const QString chosen = section.value("Default");
        if (chosen.isEmpty() || it.key() == "General")
            continue;
        if (!it.key().startsWith("Profile"))
            defaults.of_installations.append(clean_path(root, chosen));
        else if (chosen == "1" && !section.value("Path").isEmpty())
            defaults.of_old_versions.append(clean_path(root, section.value("Path")));
    }
    return defaults;
}

QStringList browser_preference_files(const QString& home, const std::function<bool()>& keep_looking)
{
    std::vector<RANKED_FILE> files;
    for (const char* root :
         {"/.mozilla/firefox", "/.config/mozilla/firefox", "/snap/firefox/common/.mozilla/firefox",
          "/.var/app/org.mozilla.firefox/.mozilla/firefox"})
        add_files(home + root, keep_looking, files);
    std::stable_sort(files.begin(), files.end(), comes_before);
    QStringList paths;
    for (const RANKED_FILE& file : files)
        paths.append(file.path);
    return paths;
}
