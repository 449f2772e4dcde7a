#include "install/vinst/release/vinst_mirror.h"

#include <QUrl>

namespace
{

QString without_trailing_slashes(QString address)
{
    while (address.endsWith('/'))
        address.chop(1);
    return address;
}

/// With "." and ".." resolved, so that an address can't leave the directory that it seems to be in.
QUrl normalized(const QString& address)
{
    return QUrl(address).adjusted(QUrl::NormalizePathSegments);
}

}

QString path_below(const QString& address, const QString& base)
{
    const QUrl file = normalized(address);
    const QUrl directory = normalized(without_trailing_slashes(base));
    // Qt regards every relative address as one below any other.
    if (file.isRelative() || file.host().isEmpty() || !directory.isParentOf(file))
        return {};
    const int skipped = directory.path(QUrl::FullyEncoded).size() + 1;
    const QString rest = file.path(QUrl::FullyEncoded).mid(skipped);
    return rest.isEmpty() || !file.hasQuery() ? rest : rest + '?' + file.query(QUrl::FullyEncoded);
}

QString address_on_mirror(const QString& address, const QString& release, const QString& mirror)
{
    const QString rest = path_below(address, release);
    return rest.isEmpty() ? address : without_trailing_slashes(mirror) + '/' + rest;
}
