#include "tests/harness/network_namespace.h"

#include "tests/harness/child_process.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

// A file system in memory that only this namespace sees; the directory exists on every system.
constexpr const char* files = "/mnt";

void check(int result, const std::string& what)
{
    if (result != 0)
        throw std::runtime_error(what + ": " + std::strerror(errno));
}

void ip(const std::vector<std::string>& arguments)
{
    run_tool({"ip", arguments});
}

void replace_file(const std::string& path, const std::string& text)
{
    const std::string own = files + path.substr(path.rfind('/'));
    const bool is_mounted = ::access(own.c_str(), F_OK) == 0;
    std::ofstream(own) << text;
    if (!is_mounted)
        check(::mount(own.c_str(), path.c_str(), nullptr, MS_BIND, nullptr), "mount " + path);
}

}

std::string NETWORK_NAMESPACE::obstacle()
{
    if (::geteuid() != 0)
        return "network namespaces need root";
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(::unshare(CLONE_NEWNET | CLONE_NEWNS) == 0 ? 0 : 1);
    int status = 0;
    pid_t ended = -1;
    do
        ended = ::waitpid(child, &status, 0);
    while (ended < 0 && errno == EINTR);
    if (child < 0 || ended != child || status != 0)
        return "network namespaces can't be created here";
    return {};
}

NETWORK_NAMESPACE::NETWORK_NAMESPACE()
    : m_network(::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)),
      m_mounts(::open("/proc/thread-self/ns/mnt", O_RDONLY | O_CLOEXEC))
{
    check(::unshare(CLONE_NEWNET | CLONE_NEWNS), "unshare");
    check(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "mount /");
    check(::mount("none", files, "tmpfs", 0, nullptr), std::string("mount ") + files);
    ip({"link", "set", "lo", "up"});
    set_hosts("");
    set_resolver("");
}

NETWORK_NAMESPACE::~NETWORK_NAMESPACE()
{
    // The namespaces end with the last process in them.
    if (::setns(m_network, CLONE_NEWNET) != 0 || ::setns(m_mounts, CLONE_NEWNS) != 0)
        ::perror("leaving a namespace");
    ::close(m_network);
    ::close(m_mounts);
}

void NETWORK_NAMESPACE::set_hosts(const std::string& lines)
{
    replace_file("/etc/hosts", "127.0.0.1 localhost\n" + lines);
}

void NETWORK_NAMESPACE::set_resolver(const std::string& lines)
{
    replace_file("/etc/resolv.conf", "nameserver 127.0.0.1\n" + lines);
}

void NETWORK_NAMESPACE::add_interface(const std::string& network)
{
    // One end of a cable. The other one is connected to nothing, but must be up, too.
    ip({"link", "add", "cable0", "type", "veth", "peer", "name", "cable1"});
    ip({"addr", "add", network, "dev", "cable0"});
    ip({"link", "set", "cable0", "up"});
    ip({"link", "set", "cable1", "up"});
}

void NETWORK_NAMESPACE::set_time_zone(const std::string& name)
{
    const std::string zone = "/usr/share/zoneinfo/" + name;
    const char* system_zone = "/etc/localtime";
    check(::mount(zone.c_str(), system_zone, nullptr, MS_BIND, nullptr), "mount /etc/localtime");
}

void NETWORK_NAMESPACE::add_guarded_address(const std::string& address, int port)
{
    ip({"addr", "add", address + "/32", "dev", "lo"});
    // By default the table of local addresses has the first priority, so that no rule could precede
    // it.
    ip({"rule", "add", "pref", "20", "lookup", "local"});
    ip({"rule", "add", "pref", "10", "uidrange", "0-0", "to", address, "dport",
        std::to_string(port), "prohibit"});
    ip({"rule", "del", "pref", "0"});
}

void NETWORK_NAMESPACE::add_interface(const std::string& name, const std::string& address)
{
    const std::string other_end = name + "_peer";
    ip({"link", "add", name, "type", "veth", "peer", "name", other_end});
    ip({"addr", "add", address, "dev", name});
    ip({"link", "set", other_end, "up"});
    ip({"link", "set", name, "up"});
}

void NETWORK_NAMESPACE::add_route(const std::string& network, const std::string& interface)
{
    ip({"route", "add", network, "dev", interface});
}
