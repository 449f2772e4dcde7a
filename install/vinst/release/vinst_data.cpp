#include "install/vinst/release/vinst_data.h"

#include "install/vinst/base/vinst_user_dirs.h"
#include "install/vinst/release/vinst_mirror.h"
#include "support/main/main_assert.h"

#include <QDir>
#include <QRegularExpression>
#include <QUrl>

namespace
{

const QString download_base = QStringLiteral("https://downloads.orvane.example");
const QString default_test_url =
    QStringLiteral("https://downloads.orvane.example/vinst/vinst_test_download.txt");
const QString default_test_md5sum = QStringLiteral("6d265a6cae1793f41a0fbe9ffbfa0b78");
const QString documentation_base = QStringLiteral("https://docs.orvane.example/veltrin");
const QString survey_base = QStringLiteral("https://survey.orvane.example/vinst");
const QString internal_domain = QStringLiteral(".internal.orvane.example");

/// The stored form of directories: cleaned, with native separators, without a trailing one.
QString stored_dir(const QString& path)
{
    QString dir = QDir::toNativeSeparators(QDir::cleanPath(path));
    if (dir.endsWith(QDir::separator()))
        dir.chop(1);
    return dir;
}

/// Makes text from the manifest safe as a part of a file name.
QString file_name_part(QString text)
{
    static const QRegularExpression unsafe(QStringLiteral(R"([^\p{L}\p{N}._-])"));
    return text.replace(unsafe, "_");
}

VINST_RELEASE* current_release = nullptr;

}

VINST_RELEASE::VINST_RELEASE() = default;
VINST_RELEASE::~VINST_RELEASE() = default;

void VINST_RELEASE::set_version(const QString& text)
{
    const QStringList parts = text.split('.');
    const int count = parts.size();
    version = count < 5 ? text : QStringList(parts.mid(0, 4)).join('.');
    short_version = count >= 2 ? parts[0] + '.' + parts[1] : QString();
    update_number = count >= 4 ? parts[2] : QString();
    if (count < 3)
        build_number.clear();
    else if (count == 3)
        build_number = parts[2];
    else
        build_number = count == 4 ? parts[3] : parts[3] + '.' + parts[4];
}

VINST_COMPONENT* VINST_RELEASE::add_component()
{
    m_components.push_back(std::make_unique<VINST_COMPONENT>());
    m_components.back()->release = this;
    return m_components.back().get();
}

void VINST_RELEASE::index_component(VINST_COMPONENT* component)
{
    MAIN_ASSERT(!m_components.empty() && m_components.back().get() == component);
    m_index.add(component->name, component->platform, m_components.size() - 1);
}

VINST_COMPONENT* VINST_RELEASE::find_component(const QString& name, const QString& platform) const
{
    MAIN_ASSERT(platform == "" || platform == "linux" || platform == "windows");
    const std::optional<std::size_t> place = m_index.find(name, platform);
    return place ? m_components[*place].get() : nullptr;
}

void VINST_RELEASE::set_install_dir(const QString& path)
{
    m_install_dir = stored_dir(path);
}

void VINST_RELEASE::set_download_dir(const QString& path)
{
    m_download_dir = stored_dir(path);
}

const QString& VINST_RELEASE::ensure_download_dir()
{
    if (m_download_dir.isEmpty())
        set_download_dir(default_download_dir());
    return m_download_dir;
}

QString VINST_RELEASE::default_download_dir() const
{
    return QDir::toNativeSeparators(best_downloads_dir(downloads_dirs())) + QDir::separator() +
           "orvaneFPGA_" + edition + '_' + short_version;
}

QString VINST_RELEASE::default_install_dir(const QString& platform)
{
    MAIN_ASSERT(platform == "linux" || platform == "windows");
    const QString& named = platform == "linux" ? installdir_linux : installdir_windows;
    // The fallback has the drive on both platforms.
    set_install_dir(
        !named.isEmpty() ? named : "C:\\orvaneFPGA_" + edition + QDir::separator() + short_version);
    return m_install_dir;
}

QString VINST_RELEASE::download_url() const
{
    QString url = manifest_download_url;
    if (url.isEmpty())
        url = download_base + '/' + short_version + '/' + build_number + "/ib_installers";
    while (url.endsWith('/'))
        url.chop(1);
    return url;
}

const QString& VINST_RELEASE::test_url()
{
    if (m_test_url.isEmpty())
        m_test_url = default_test_url;
    return m_test_url;
}

const QString& VINST_RELEASE::test_md5sum()
{
    if (m_test_md5sum.isEmpty())
        m_test_md5sum = default_test_md5sum;
    return m_test_md5sum;
}

void VINST_RELEASE::set_test_file(const QString& url, const QString& md5sum)
{
    m_test_url = url;
    m_test_md5sum = md5sum;
}

void VINST_RELEASE::use_mirror(const QString& url)
{
    m_test_url = address_on_mirror(test_url(), download_url(), url);
    manifest_download_url = url;
}

QString VINST_RELEASE::window_title() const
{
    QString title =
        "Orvane Veltrin Crest " + edition.left(1).toUpper() + edition.mid(1) + " Edition";
    if (download_url().contains(internal_domain))
        title += " (Orvane Internal)";
    return title;
}

QString VINST_RELEASE::display_title() const
{
    return window_title() + ' ' + short_version;
}

QString VINST_RELEASE::log_file_name() const
{
    return "vinst-" + file_name_part(version) + '-' + file_name_part(edition) + ".log";
}

QString VINST_RELEASE::documentation_url() const
{
    return documentation_base + '/' + short_version + "/download.html";
}

QString VINST_RELEASE::survey_url() const
{
    return survey_base + "?version=" + QString::fromLatin1(QUrl::toPercentEncoding(version)) +
           "&edition=" + QString::fromLatin1(QUrl::toPercentEncoding(edition));
}

VINST_RELEASE* get_release()
{
    MAIN_ASSERT(current_release != nullptr);
    return current_release;
}

void set_current_release(VINST_RELEASE* release)
{
    current_release = release;
}
