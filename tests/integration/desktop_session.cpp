#include "tests/integration/desktop_session.h"

#include <unistd.h>

#include <filesystem>

std::string obstacle_to_desktop_session()
{
    for (const char* tool : {"/usr/bin/gsettings", "/usr/bin/dbus-run-session",
                             "/usr/lib/x86_64-linux-gnu/gio/modules/libgiognomeproxy.so"})
        if (::access(tool, R_OK) != 0)
            return std::string(tool) + " is missing";
    return {};
}

CHILD_SETUP in_desktop_session(const CHILD_SETUP& program, const std::string& script,
                               const std::filesystem::path& home)
{
    std::filesystem::create_directories(home / "run");
    std::filesystem::permissions(home / "run", std::filesystem::perms::owner_all);
    CHILD_SETUP session = program;
    session.program = "/usr/bin/dbus-run-session";
    session.environment["XDG_RUNTIME_DIR"] = (home / "run").string();
    session.arguments = {"--", "/bin/sh", "-ec", script + "\nexec \"$0\" \"$@\"",
                         program.program.string()};
    session.arguments.insert(session.arguments.end(), program.arguments.begin(),
                             program.arguments.end());
    return session;
}

std::string gnome_proxy_script(const std::string& host, std::uint16_t port)
{
    return "gsettings set org.gnome.system.proxy ignore-hosts \"['other.example']\"\n"
           "gsettings set org.gnome.system.proxy.http host " +
           host +
           "\n"
           "gsettings set org.gnome.system.proxy.http port " +
           std::to_string(port) +
           "\n"
           "gsettings set org.gnome.system.proxy mode manual";
}
