#pragma once

#include <QString>

// Web addresses below another one, such as that of a release. A slash at the end of the other one
// makes no difference.

/// The part of an address that follows another one, as written there, percent encoding included:
/// "a/b.txt". Empty if the address is not below the other one.
QString path_below(const QString& address, const QString& base);

/// Where a mirror has a file of a release. An address that is not below that of the release is
/// returned unchanged.
QString address_on_mirror(const QString& address, const QString& release, const QString& mirror);
