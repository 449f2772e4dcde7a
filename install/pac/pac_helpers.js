// The predefined functions for auto-configuration scripts, as in browsers. Evaluates to a function
// that defines them, given the native half.
(function (global, native) {
    var day_names = ["SUN", "MON", "TUE", "WED", "THU", "FRI", "SAT"];
    var month_names = ["JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                       "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"];

    // Lists are exchanged as texts separated by semicolons.
    function list_of(text) {
        return text === "" ? [] : text.split(";");
    }

    // The 4 or 16 bytes of an IP address; null for any other text.
    function address_bytes(text) {
        var bytes = native.address_bytes(String(text));
        return bytes === "" ? null : bytes.split(",").map(Number);
    }

    function is_ipv4(text) {
        var bytes = address_bytes(text);
        return bytes !== null && bytes.length === 4;
    }

    // Other values than texts, such as the null of dnsResolve, are no names.
    function resolve(host) {
        return typeof host === "string" ? list_of(native.resolve(host)) : [];
    }

    function first_ipv4(addresses) {
        var found = addresses.filter(is_ipv4);
        return found.length > 0 ? found[0] : null;
    }

    function bits_equal(one, other, count) {
        for (var i = 0; count > 0; ++i, count -= 8) {
            var mask = count >= 8 ? 255 : 255 & (255 << (8 - count));
            if ((one[i] & mask) !== (other[i] & mask))
                return false;
        }
        return true;
    }

    var regular_expression = global.RegExp;
    var translations = { ".": "\\.", "*": ".*", "?": "." };

    // The regular expression that browsers use for a pattern: they translate these three characters
    // and leave all others as they are.
    function translated(pattern) {
        var source = pattern.replace(/[.*?]/g, function (c) { return translations[c]; });
        try {
            return new regular_expression("^" + source + "$");
        } catch (e) {
            throw new SyntaxError("shExpMatch can't use the pattern " + pattern);
        }
    }

    // Whether the pattern has only characters that glob_matches understands.
    function is_glob(pattern, text) {
        return !/[\\^$+()[\]{}|]/.test(pattern) && !/[\n\r\u2028\u2029]/.test(text);
    }

    // The same as the translated pattern, but in less than exponential time.
    // It is sufficient to backtrack to the last star.
    function glob_matches(text, pattern) {
        var in_text = 0, in_pattern = 0, star = -1, star_text = 0;
        while (in_text < text.length) {
            if (pattern[in_pattern] === "*") {
                star = in_pattern++;
                star_text = in_text;
                continue;
            }
            if (pattern[in_pattern] === "?" || pattern[in_pattern] === text[in_text]) {
                ++in_pattern;
                ++in_text;
            } else if (star >= 0) {
                in_pattern = star + 1;
                in_text = ++star_text;
            } else {
                return false;
            }
        }
        while (pattern[in_pattern] === "*")
            ++in_pattern;
        return in_pattern === pattern.length;
    }

    // The arguments without a final "GMT", and the current time in the requested zone.
    function split_zone(all) {
        var values = Array.prototype.slice.call(all);
        var utc = values.length > 0 && String(values[values.length - 1]).toUpperCase() === "GMT";
        if (utc)
            values.pop();
        var now = new Date(native.now());
        return {
            values: values,
            weekday: utc ? now.getUTCDay() : now.getDay(),
            day: utc ? now.getUTCDate() : now.getDate(),
            month: utc ? now.getUTCMonth() : now.getMonth(),
            year: utc ? now.getUTCFullYear() : now.getFullYear(),
            hour: utc ? now.getUTCHours() : now.getHours(),
            minute: utc ? now.getUTCMinutes() : now.getMinutes(),
            second: utc ? now.getUTCSeconds() : now.getSeconds()
        };
    }

    function index_in(names, value) {
        return names.indexOf(String(value).toUpperCase());
    }

    // Negative, zero or positive, by the first element that differs.
    function compare(one, other) {
        for (var i = 0; i < one.length; ++i) {
            if (one[i] !== other[i])
                return one[i] - other[i];
        }
        return 0;
    }

    // Both ends are included. A range whose end is before its start wraps around.
    function in_range(first, now, last) {
        return compare(first, last) <= 0
            ? compare(first, now) <= 0 && compare(now, last) <= 0
            : compare(first, now) <= 0 || compare(now, last) <= 0;
    }

    // Any combination of day, month and year in any order, as one record; null if invalid.
    function date_part(values) {
        var part = {};
        for (var i = 0; i < values.length; ++i) {
            var kind, value = index_in(month_names, values[i]);
            if (value >= 0) {
                kind = "month";
            } else {
                value = Number(values[i]);
                kind = value >= 1 && value <= 31 ? "day" : value > 31 ? "year" : null;
            }
            if (kind === null || part[kind] !== undefined)
                return null;
            part[kind] = value;
        }
        return part;
    }

    function figures(part, kinds) {
        return kinds.map(function (kind) { return part[kind]; });
    }

    var all_kinds = ["year", "month", "day"];

    function kinds_of(part) {
        return all_kinds.filter(function (kind) { return part[kind] !== undefined; });
    }

    function completed(part, defaults) {
        return all_kinds.map(function (kind) {
            return part[kind] === undefined ? defaults[kind] : part[kind];
        });
    }

    // As in browsers: missing parts are those of the first and the last day of this year.
    function in_uneven_range(first, now, last) {
        var today = figures(now, all_kinds);
        return compare(completed(first, { year: now.year, month: 0, day: 1 }), today) <= 0 &&
            compare(today, completed(last, { year: now.year, month: 11, day: 31 })) <= 0;
    }

    var helpers = {
        isPlainHostName: function (host) {
            return !/[.:]/.test(String(host));
        },
        dnsDomainIs: function (host, domain) {
            host = String(host);
            domain = String(domain);
            return host.length >= domain.length &&
                host.substring(host.length - domain.length) === domain;
        },
        localHostOrDomainIs: function (host, full_name) {
            host = String(host);
            full_name = String(full_name);
            return host === full_name || full_name.lastIndexOf(host + ".", 0) === 0;
        },
        isResolvable: function (host) {
            return first_ipv4(resolve(host)) !== null;
        },
        isInNet: function (host, network, mask) {
            if (!is_ipv4(network) || !is_ipv4(mask))
                return false;
            // What looks like an address is never a name.
            var is_address = /^\d+\.\d+\.\d+\.\d+$/.test(host);
            var address = is_address ? host : first_ipv4(resolve(host));
            if (address === null || !is_ipv4(address))
                return false;
            var masked = global.convert_addr(mask);
            return (global.convert_addr(address) & masked) ===
                (global.convert_addr(network) & masked);
        },
        dnsResolve: function (host) {
            return first_ipv4(resolve(host));
        },
        convert_addr: function (address) {
            var bytes = String(address).split(".");
            return ((bytes[0] & 255) << 24) | ((bytes[1] & 255) << 16) |
                ((bytes[2] & 255) << 8) | (bytes[3] & 255);
        },
        myIpAddress: function () {
            return first_ipv4(list_of(native.own_addresses())) || "127.0.0.1";
        },
        dnsDomainLevels: function (host) {
            return String(host).split(".").length - 1;
        },
        shExpMatch: function (text, pattern) {
            text = String(text);
            pattern = String(pattern);
            return is_glob(pattern, text) ? glob_matches(text, pattern)
                : translated(pattern).test(text);
        },
        weekdayRange: function () {
            var now = split_zone(arguments);
            var days = now.values.map(function (name) { return index_in(day_names, name); });
            if (days.length < 1 || days.length > 2 || days.indexOf(-1) >= 0)
                return false;
            return in_range([days[0]], [now.weekday], [days[days.length - 1]]);
        },
        dateRange: function () {
            var now = split_zone(arguments);
            var count = now.values.length;
            var whole = date_part(now.values);
            if (count > 0 && whole !== null)
                return kinds_of(whole).every(function (kind) { return whole[kind] === now[kind]; });

            var half = Math.floor(count / 2);
            var first = date_part(now.values.slice(0, half));
            var last = date_part(now.values.slice(half));
            if (half === 0 || first === null || last === null)
                return false;
            var kinds = kinds_of(first);
            if (kinds.join() !== kinds_of(last).join())
                return in_uneven_range(first, now, last);
            var begin = figures(first, kinds), end = figures(last, kinds);
            // Years don't wrap around.
            if (kinds[0] === "year" && compare(begin, end) > 0)
                return false;
            return in_range(begin, figures(now, kinds), end);
        },
        timeRange: function () {
            var now = split_zone(arguments);
            var values = now.values.map(Number);
            if (values.length === 0 || values.some(isNaN))
                return false;
            var time = [now.hour, now.minute, now.second];
            switch (values.length) {
            case 1:
                return now.hour === values[0];
            case 2:
                return in_range([values[0]], [now.hour], [values[1]]);
            case 4:
                return in_range(values.slice(0, 2), time.slice(0, 2), values.slice(2));
            case 6:
                return in_range(values.slice(0, 3), time, values.slice(3));
            }
            return false;
        },
        alert: function (text) {
            native.log("alert: " + String(text));
        },

        isResolvableEx: function (host) {
            return resolve(host).length > 0;
        },
        isInNetEx: function (address, prefixes) {
            if (typeof address !== "string" || typeof prefixes !== "string")
                return null;
            var bytes = address_bytes(address);
            if (bytes === null)
                return false;
            return prefixes.split(";").some(function (prefix) {
                var parts = prefix.trim().split("/");
                var network = address_bytes(parts[0]);
                var bits = /^[0-9]+$/.test(parts[1]) ? Number(parts[1]) : -1;
                return parts.length === 2 && network !== null &&
                    network.length === bytes.length && bits >= 0 &&
                    bits <= network.length * 8 && bits_equal(bytes, network, bits);
            });
        },
        dnsResolveEx: function (host) {
            return typeof host === "string" ? resolve(host).join(";") : undefined;
        },
        myIpAddressEx: function () {
            return native.own_addresses();
        },
        sortIpAddressList: function (addresses) {
            if (typeof addresses !== "string")
                return null;
            var entries = addresses.split(";").map(function (text) {
                return { text: text.trim(), bytes: address_bytes(text.trim()) };
            });
            if (entries.some(function (entry) { return entry.bytes === null; }))
                return false;
            // IPv6 before IPv4.
            entries.sort(function (one, other) {
                return other.bytes.length - one.bytes.length || compare(one.bytes, other.bytes);
            });
            return entries.map(function (entry) { return entry.text; }).join(";");
        },
        getClientVersion: function () {
            return "1.0";
        }
    };

    Object.keys(helpers).forEach(function (name) { global[name] = helpers[name]; });
})
