#pragma once

#include <QString>

#include <functional>

struct VINST_COMPONENT;

/// The MD5 sum of a file as 32 lower-case hexadecimal digits; empty when it can't be read, or when
/// `is_cancelled` said so meanwhile. Its duration is logged.
QString calc_md5sum(const QString& path, const std::function<bool()>& is_cancelled = {});

/// Whether the component's local file is there and has the manifest's sum; false when
/// `is_cancelled` said so meanwhile.
bool check_md5(const VINST_COMPONENT* component, const std::function<bool()>& is_cancelled = {});
