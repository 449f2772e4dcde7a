#include "install/pac/pac_native.h"

#include <QStringList>

#include <arpa/inet.h>

namespace
{

constexpr std::size_t look_up_limit = 32;
constexpr int line_limit = 100;
constexpr int line_length = 500; // characters
// The maximum length of a host name; IP addresses are shorter.
constexpr int name_length = 255;

QString joined(const std::vector<std::string>& addresses)
{
    QStringList list;
    for (const std::string& address : addresses)
        list.append(QString::fromStdString(address));
    return list.join(';');
}

std::vector<std::string> split(const QString& addresses)
{
    std::vector<std::string> list;
    for (const QString& address : addresses.split(';', Qt::SkipEmptyParts))
        list.push_back(address.toStdString());
    return list;
}

}

QString PAC_NATIVE::resolve(const QString& name)
{
    if (name.isEmpty() || name.size() > name_length)
        return {};
    if (!address_bytes(name).isEmpty())
        return name;
    const QString key = name.toLower();
    if (const auto known = m_resolved.find(key); known != m_resolved.end())
        return known->second;
    if (m_resolved.size() >= look_up_limit)
    {
        if (!m_told_look_ups)
            log("The script looks up too many names; the others are treated as unknown.");
        m_told_look_ups = true;
        return {};
    }
    const QString addresses = joined(m_environment.resolve(key.toStdString()));
    m_resolved.emplace(key, addresses);
    return addresses;
}

QString PAC_NATIVE::own_addresses()
{
    if (!m_own_addresses)
        m_own_addresses = joined(m_environment.own_addresses(split(resolve(m_host))));
    return *m_own_addresses;
}

void PAC_NATIVE::log(const QString& line)
{
    if (m_lines++ < line_limit)
        m_environment.log(line.left(line_length).toStdString());
}

QString PAC_NATIVE::address_bytes(const QString& text) const
{
    if (text.size() > name_length)
        return {};
    const QByteArray ascii = text.toLatin1();
    unsigned char bytes[16];
    int count = 0;
    if (inet_pton(AF_INET, ascii.constData(), bytes) == 1)
        count = 4;
    else if (inet_pton(AF_INET6, ascii.constData(), bytes) == 1)
        count = 16;
    QStringList numbers;
    for (int i = 0; i < count; ++i)
        numbers.append(QString::number(bytes[i]));
    return numbers.join(',');
}
