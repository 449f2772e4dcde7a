#include "tools/vinst_release/release_command_line.h"

#include "install/vinst/base/vinst_limits.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_stop_signals.h"
#include "install/vinst/base/vinst_text.h"
#include "tools/vinst_release/release_check.h"
#include "tools/vinst_release/release_make.h"
#include "tools/vinst_release/release_mirror.h"
#include "tools/vinst_release/release_progress.h"
#include "tools/vinst_release/release_server.h"
#include "tools/vinst_release/release_terminal.h"
#include "tools/vinst_release/release_text.h"

#include <boost/program_options.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>
#include <QString>
#include <QSysInfo>

#include <cstdio>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace po = boost::program_options;

namespace
{

constexpr int all_is_well = 0;
constexpr int failed = 1;
constexpr int bad_usage = 2;

const char* const general_help =
    "Usage: vinst_release COMMAND [arguments...]\n"
    "\n"
    "Commands:\n"
    "  make DESCRIPTION OUT    make a release in the directory OUT\n"
    "  check MANIFEST [DIR]    report all faults in a manifest and its files in DIR\n"
    "  serve DIR               serve a directory over HTTP\n"
    "  mirror MANIFEST DIR     fetch a release into the directory DIR\n"
    "\n"
    "vinst_release COMMAND --help describes a command.\n";

const char* const make_help =
    "Usage: vinst_release make DESCRIPTION OUT [options...]\n"
    "\n"
    "Makes a release in the directory OUT: copies the files that the JSON file DESCRIPTION\n"
    "names, calculates their MD5 and SHA-1 checksums, and writes the manifest\n"
    "(manifest.json) and the connection test's file (vinst_test_download.txt). Files that\n"
    "are already in OUT are not copied again. To try a release, serve it and use the --url of\n"
    "vinst; the manifest has the address where it will be published.\n"
    "\n";

const char* const check_help =
    "Usage: vinst_release check MANIFEST [DIR]\n"
    "\n"
    "Loads a manifest as the installer does and reports each fault on a separate line: the\n"
    "installer's messages, broken relations, conflicting names and files, and malformed\n"
    "checksums. With DIR, compares the release's files there with the manifest. Elements\n"
    "without a name are numbered from 1. The exit code is 0 if there are no faults, else 1.\n"
    "\n";

const char* const serve_help =
    "Usage: vinst_release serve DIR [options...]\n"
    "\n"
    "Serves the files below DIR over HTTP until stopped by Ctrl-C or SIGTERM. The first\n"
    "line that it prints is its address.\n"
    "\n";

const char* const mirror_help =
    "Usage: vinst_release mirror MANIFEST DIR [options...]\n"
    "\n"
    "Fetches the release that a manifest describes into the directory DIR, from which any web\n"
    "server can serve it, and verifies it: the files of its components, the connection\n"
    "test's file, and an unchanged copy of the manifest. Prints the address to use. When\n"
    "started again, it resumes. Uses the proxy that http_proxy and https_proxy name.\n"
    "\n";

void say(const QString& line)
{
    const std::string bytes = utf8(line) + '\n';
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    std::fflush(stdout);
}

void complain(const QString& line)
{
    const std::string bytes = "vinst_release: " + utf8(line) + '\n';
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
}

int refuse_usage(const QString& why, const QString& command)
{
    complain(why);
    const std::string hint = "vinst_release " +
                             utf8(command.isEmpty() ? QString() : command + ' ') +
                             "--help describes its usage\n";
    std::fwrite(hint.data(), 1, hint.size(), stderr);
    return bad_usage;
}

/// One command: its arguments and its function.
struct COMMAND
{
    QString name;
    const char* help;
    std::size_t fewest_arguments;
    std::size_t most_arguments;
    po::options_description options;
    std::function<int(const QStringList& arguments, const po::variables_map& values)> run;
};

QString text_option(const po::variables_map& values, const char* name)
{
    return values.count(name) > 0 ? QString::fromStdString(values[name].as<std::string>())
                                  : QString();
}

bool is_web_address(const QString& url)
{
    return url.startsWith("http://") || url.startsWith("https://");
}

int make(const QStringList& arguments, const po::variables_map& values)
{
    QString url = text_option(values, "download-url");
    while (url.endsWith('/'))
        url.chop(1);
    if (values.count("download-url") > 0 && !is_web_address(url))
        return refuse_usage(QStringLiteral("--download-url must begin with http:// or https://"),
                            QStringLiteral("make"));
    const RELEASE_MAKE_RESULT result = [&]
    {
        RELEASE_PROGRESS_LINE progress(QStringLiteral("Measuring"));
        return make_release(arguments[0], arguments[1], url,
                            [&](const RELEASE_FILE_PROGRESS& now) { progress.show(now); });
    }();
    for (const QString& fault : result.faults)
        complain(fault);
    if (!result.faults.isEmpty())
        return failed;
    say("Made a release of " + counted(result.components, QStringLiteral("component")) + " and " +
        counted(result.files, QStringLiteral("file")) + ", " + readable_size(result.bytes) +
        ", in " + arguments[1]);
    say("Files copied: " + QString::number(result.files_copied) +
        ", already there: " + QString::number(result.files - result.files_copied));
    return all_is_well;
}

int check(const QStringList& arguments, const po::variables_map&)
{
    const RELEASE_CHECK_RESULT result = [&]
    {
        RELEASE_PROGRESS_LINE progress(QStringLiteral("Checking"));
        return check_release(arguments[0], arguments.value(1),
                             [&](const RELEASE_FILE_PROGRESS& now) { progress.show(now); });
    }();
    for (const QString& fault : result.faults)
        say(without_control_characters(fault));
    QString counts = counted(result.components, QStringLiteral("component"));
    if (arguments.size() > 1)
        counts += ", " + counted(result.files_read, QStringLiteral("file")) + " read";
    const auto faults = static_cast<std::size_t>(result.faults.size());
    say(counts + ", " + counted(faults, QStringLiteral("fault")));
    return faults == 0 ? all_is_well : failed;
}

/// The integer in an option's value; nothing if it isn't an integer or is too large.
std::optional<quint64> number_option(const po::variables_map& values, const char* name,
                                     quint64 largest)
{
    bool ok = false;
    const quint64 number = text_option(values, name).toULongLong(&ok);
    return ok && number <= largest ? std::optional(number) : std::nullopt;
}

int serve(const QStringList& arguments, const po::variables_map& values)
{
    constexpr quint64 largest_port = 65535;
    const QString command = QStringLiteral("serve");
    const auto port = number_option(values, "port", largest_port);
    if (!port)
        return refuse_usage(QStringLiteral("--port must be a number from 0 to 65535"), command);
    const auto rate = number_option(values, "rate", std::numeric_limits<quint64>::max());
    if (!rate)
        return refuse_usage(QStringLiteral("--rate must be a whole number of bytes"), command);

    hold_end_signals();
    RELEASE_SERVER server;
    bool broke_down = false;
    const std::string fault = server.start(
        {utf8(arguments[0]), utf8(text_option(values, "address")), static_cast<int>(*port), *rate},
        [&broke_down]
        {
            // Read after the wait that this call ends.
            broke_down = true;
            cancel_wait_for_end_signal();
        });
    if (!fault.empty())
    {
        complain(QString::fromStdString(fault));
        return failed;
    }
    say(QString::fromStdString(server.url()));
    wait_for_end_signal();
    server.stop();
    if (broke_down)
        complain(QStringLiteral("the server has stopped accepting connections"));
    return broke_down ? failed : all_is_well;
}

/// A word of a shell command.
QString shell_word(const QString& text)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_./,:@%+=-]+$"));
    if (plain.match(text).hasMatch())
        return text;
    return '\'' + without_control_characters(text).replace('\'', "'\\''") + '\'';
}

void print_how_to_use(const QString& directory)
{
    const QDir dir(directory);
    say("Serve the directory with a web server, for example with");
    say("  vinst_release serve " + shell_word(dir.absolutePath()) +
        " --address 0.0.0.0 --port 8080");
    say("and install from it with");
    say("  vinst --manifest " + shell_word(dir.absoluteFilePath("manifest.json")) +
        " --url http://" + QSysInfo::machineHostName() + ":8080");
}

int mirror_to(const RELEASE_MIRROR_SETTINGS& settings)
{
    const RELEASE_MIRROR_RESULT result = mirror_release(settings, complain);
    for (const QString& fault : result.faults)
        complain(fault);
    if (!result.faults.isEmpty())
        return failed;
    say("Mirrored " + counted(result.files, QStringLiteral("file")) + ", " +
        readable_size(result.bytes) + ", in " + settings.directory);
    for (const QString& note : result.notes)
        say(note);
    print_how_to_use(settings.directory);
    return all_is_well;
}

int mirror(const QStringList& arguments, const po::variables_map& values)
{
    const QString command = QStringLiteral("mirror");
    const QString platform = text_option(values, "platform");
    if (values.count("platform") > 0 && !is_platform(platform))
        return refuse_usage(QStringLiteral("--platform must be linux or windows"), command);
    const QString url = text_option(values, "url");
    if (values.count("url") > 0 && !is_web_address(url))
        return refuse_usage(QStringLiteral("--url must begin with http:// or https://"), command);
    const auto minutes =
        number_option(values, "retry-duration", static_cast<quint64>(vinst_retry_minutes.highest));
    if (!minutes)
        return refuse_usage("--retry-duration must be a number from " +
                                QString::number(vinst_retry_minutes.lowest) + " to " +
                                QString::number(vinst_retry_minutes.highest),
                            command);

    // The download manager processes events while it waits.
    int count = 1;
    char name[] = "vinst_release";
    char* words[] = {name, nullptr};
    const QCoreApplication application(count, words);
    VINST_STOP_SIGNALS signals;
    const int code =
        mirror_to({arguments[0], arguments[1], platform, text_option(values, "components"), url,
                   static_cast<int>(*minutes)});
    signals.end_by_signal();
    return code;
}

std::vector<COMMAND> commands()
{
    po::options_description make_options("Options");
    make_options.add_options()("help", "this help")(
        "download-url", po::value<std::string>()->value_name("URL"),
        "where the release will be fetched from, instead of the description's download_url");

    po::options_description check_options("Options");
    check_options.add_options()("help", "this help");

    po::options_description serve_options("Options");
    serve_options.add_options()("help", "this help")(
        "port", po::value<std::string>()->value_name("N")->default_value("0"),
        "the port to listen on; 0 for any free port")(
        "address", po::value<std::string>()->value_name("ADDRESS")->default_value("127.0.0.1"),
        "the address to listen on")(
        "rate", po::value<std::string>()->value_name("BYTES")->default_value("0"),
        "bytes per second per connection; 0 for unlimited");

    po::options_description mirror_options("Options");
    mirror_options.add_options()("help", "this help")(
        "platform", po::value<std::string>()->value_name("P"),
        "fetch only the files for linux or for windows, instead of both")(
        "components", po::value<std::string>()->value_name("A,B"),
        "fetch only these components, and those that they depend on")(
        "url", po::value<std::string>()->value_name("URL"),
        "fetch from this mirror, instead of the manifest's download_url")(
        "retry-duration",
        po::value<std::string>()->value_name("MINUTES")->default_value(
            std::to_string(vinst_retry_minutes.initial)),
        "how long failed downloads are retried");

    return {{QStringLiteral("make"), make_help, 2, 2, make_options, make},
            {QStringLiteral("check"), check_help, 1, 2, check_options, check},
            {QStringLiteral("serve"), serve_help, 1, 1, serve_options, serve},
            {QStringLiteral("mirror"), mirror_help, 2, 2, mirror_options, mirror}};
}

int print_help(const COMMAND& command)
{
    std::string text = command.help;
    std::ostringstream options;
    options << command.options;
    text += options.str();
    std::fwrite(text.data(), 1, text.size(), stdout);
    return all_is_well;
}

int run_command(const COMMAND& command, const std::vector<std::string>& words)
{
    po::options_description all;
    all.add(command.options);
    all.add_options()("argument", po::value<std::vector<std::string>>());
    po::positional_options_description positional;
    positional.add("argument", -1);
    po::variables_map values;
    try
    {
        namespace style = po::command_line_style;
        po::store(po::command_line_parser(words)
                      .options(all)
                      .positional(positional)
                      .style(style::unix_style & ~style::allow_guessing)
                      .run(),
                  values);
        po::notify(values);
    }
    catch (const po::error& error)
    {
        return refuse_usage(QString::fromStdString(error.what()), command.name);
    }
    if (values.count("help") > 0)
        return print_help(command);
    QStringList arguments;
    if (values.count("argument") > 0)
        for (const std::string& argument : values["argument"].as<std::vector<std::string>>())
            arguments.append(QString::fromStdString(argument));
    const auto count = static_cast<std::size_t>(arguments.size());
    if (count < command.fewest_arguments)
        return refuse_usage(command.name + " needs more arguments", command.name);
    if (count > command.most_arguments)
        return refuse_usage(command.name + " takes no argument " + quoted(arguments.last()),
                            command.name);
    return command.run(arguments, values);
}

}

int run_release_tool(int argc, const char* const* argv)
{
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    if (words.empty())
        return refuse_usage(QStringLiteral("a command is missing"), {});
    if (words[0] == "--help")
    {
        std::fputs(general_help, stdout);
        return all_is_well;
    }
    QStringList names;
    for (const COMMAND& command : commands())
    {
        if (command.name == QString::fromStdString(words[0]))
            return run_command(command, {words.begin() + 1, words.end()});
        names.append(command.name);
    }
    const QString word = QString::fromStdString(words[0]);
    const QString nearest = nearest_word(word, names);
    return refuse_usage("unknown command " + quoted(word) +
                            (nearest.isEmpty() ? QString() : "; did you mean '" + nearest + "'?"),
                        {});
}
