#include "tests/unit/pac/pac_script_case.h"

namespace
{

constexpr const char* yes = "PROXY yes:1";
constexpr const char* no = "DIRECT";

// Complete files as used in networks.

const std::string nested_conditions = R"js(
/* Proxy settings of the head office. return "PROXY old:1"; */
function FindProxyForURL(url, host)
{
    // Intranet goes direct: return "DIRECT" for plain names
    if (isPlainHostName(host) || dnsDomainIs(host, ".corp.example")) {
        return "DIRECT";
    } else if (shExpMatch(url, "ftp:*")) {
        return "PROXY ftp-gate.corp.example:2121";
    } else {
        if (isInNet(myIpAddress(), "10.20.0.0", "255.255.0.0"))
            return "PROXY berlin.corp.example:3128; PROXY munich.corp.example:3128; DIRECT";
        if (isInNet(myIpAddress(), "10.30.0.0", "255.255.0.0"))
            return "PROXY paris.corp.example:3128";
    }
    return "PROXY world.corp.example:8080";
}
)js";

const std::string array_of_networks = R"js(
var networks = [
    ["10.0.0.0", "255.0.0.0"],
    ["172.16.0.0", "255.240.0.0"],
    ["192.168.0.0", "255.255.0.0"],
];
var bypass = ["localhost", "*.local", "*.example.org"];
function FindProxyForURL(url, host) {
    for (var i in bypass)
        if (shExpMatch(host, bypass[i])) return "DIRECT";
    var ip = dnsResolve(host);
    for (var n = 0; n < networks.length; n++) {
        if (ip && isInNet(ip, networks[n][0], networks[n][1])) return "DIRECT";
    }
    return "PROXY gate:3128";
}
)js";

const std::string regular_expressions = R"js(
function FindProxyForURL(url, host) {
    var re = /^https?:\/\/([a-z0-9-]+\.)*example\.(com|net)(:\d+)?\//i;
    if (/^(\d{1,3}\.){3}\d{1,3}$/.test(host)) return 'DIRECT';
    var m = url.match(re);
    return m ? "PROXY match:" + (8000 + m[2].length) : "DIRECT";
}
)js";

const std::string by_switch = R"js(
function FindProxyForURL(url, host)
{
    var proxy;
    switch (url.substring(0, url.indexOf(":"))) {
        case "http": proxy = "PROXY web:80"; break;
        case "https": proxy = "PROXY tls:443"; break;
        default: proxy = "DIRECT";
    }
    return proxy;
}
)js";

const std::string by_hash = R"js(
// Balances by the letters of the host.
function hash(text) { var h = 0; for (var i = 0; i < text.length; i++) h = (h * 31 + text.charCodeAt(i)) & 0xffff; return h; }
function FindProxyForURL(url, host) {
    var gates = ["PROXY a:1", "PROXY b:1"];
    var first = hash(host) % 2;
    return gates[first] + "; " + gates[1 - first];
}
)js";

const std::string by_table = R"js(
var rules = { ".example.com": "PROXY com:1", ".example.net": "PROXY net:1" };
function FindProxyForURL(u, h) {
  for (var suffix in rules) { if (rules.hasOwnProperty(suffix) && dnsDomainIs(h, suffix)) return rules[suffix]; }
  return "DIRECT";
}
)js";

const std::string try_and_catch = R"js(
function FindProxyForURL(url, host) {
  try { return missing(host); } catch (e) { return "PROXY caught:1"; } finally { alert("done"); }
}
)js";

const std::string many_strings = R"js(
// return "PROXY comment:1"
var note = 'return "PROXY note:1"; // not this';
var other = "/* return 'PROXY other:1' */";
function FindProxyForURL(url, host) { /* return "PROXY inner:1"; */ return "PROXY real:1"; }
)js";

std::string with_line_ends(std::string script, const std::string& line_end)
{
    for (std::size_t at = 0; (at = script.find('\n', at)) != std::string::npos;
         at += line_end.size())
        script.replace(at, 1, line_end);
    return script;
}

const SCRIPT_CASE whole_files[] = {
    {"NestedConditions", nested_conditions,
     "PROXY berlin.corp.example:3128; PROXY munich.corp.example:3128; DIRECT"},
    {"NestedConditionsPlainName", nested_conditions, no, "printer"},
    {"NestedConditionsDomain", nested_conditions, no, "intra.corp.example"},
    {"NestedConditionsScheme", nested_conditions, "PROXY ftp-gate.corp.example:2121",
     "www.example.com", "ftp://www.example.com/x"},
    {"CarriageReturns", with_line_ends(nested_conditions, "\r"),
     "PROXY berlin.corp.example:3128; PROXY munich.corp.example:3128; DIRECT"},
    {"CarriageReturnsAndLineFeeds", with_line_ends(nested_conditions, "\r\n"),
     "PROXY berlin.corp.example:3128; PROXY munich.corp.example:3128; DIRECT"},
    {"ArrayOfNetworksOutside", array_of_networks, "PROXY gate:3128"},
    {"ArrayOfNetworksInside", array_of_networks, no, "intra.corp.example"},
    {"ArrayOfNetworksBypass", array_of_networks, no, "a.b.example.org"},
    {"ArrayOfNetworksUnknownName", array_of_networks, "PROXY gate:3128", "no.such.name"},
    {"RegularExpressions", regular_expressions, "PROXY match:8003"},
    {"RegularExpressionsAddress", regular_expressions, no, "10.1.2.3", "http://10.1.2.3/"},
    {"Switch", by_switch, "PROXY web:80"},
    {"SwitchHttps", by_switch, "PROXY tls:443", "www.example.com", "https://www.example.com/"},
    {"SwitchDefault", by_switch, no, "www.example.com", "ws://www.example.com/"},
    {"Hash", by_hash, "PROXY a:1; PROXY b:1"},
    {"HashOther", by_hash, "PROXY b:1; PROXY a:1", "www.example.con"},
    {"Table", by_table, "PROXY com:1"},
    {"TableOther", by_table, "PROXY net:1", "www.example.net"},
    {"TryAndCatch", try_and_catch, "PROXY caught:1"},
    {"StringsAndComments", many_strings, "PROXY real:1"},
    {"FunctionBeforeItsHelpers",
     "function FindProxyForURL(u, h) { return pick(h); } function pick(h) { return 'PROXY ' + h + "
     "':1'; }",
     "PROXY www.example.com:1"},
    {"FunctionInAVariable", "var FindProxyForURL = function (u, h) { return 'PROXY v:1'; };",
     "PROXY v:1"},
    {"FunctionInAConstant", "const FindProxyForURL = (u, h) => `PROXY c:${1 + 1}`;", "PROXY c:2"},
    {"FunctionAssigned", "FindProxyForURL = function () { return 'PROXY g:1' }", "PROXY g:1"},
    {"StrictFunction",
     "'use strict'; function FindProxyForURL(url, host) { let x = 'PROXY s:1'; return x; }",
     "PROXY s:1"},
    {"OneLineWithoutBlanks", "function FindProxyForURL(u,h){return\"PROXY x:1\"}", "PROXY x:1"},
    {"EndsInAComment", "function FindProxyForURL() { return 'PROXY e:1'; } // the end",
     "PROXY e:1"},
    {"ConcatenatedResult",
     "function FindProxyForURL(u, h) { var p = 'PROXY a:1'; p += '; ' + 'DIRECT'; return p; }",
     "PROXY a:1; DIRECT"},
    {"ResultAsItStands", "function FindProxyForURL() { return '  proxy  a:1 ;; socks s:2;\\t'; }",
     "  proxy  a:1 ;; socks s:2;\t"},
    {"EmptyResult", "function FindProxyForURL() { return ''; }", ""},
    {"TheYoungerFunctionIsPreferred",
     "function FindProxyForURL() { return 'PROXY old:1'; } function FindProxyForURLEx() { return "
     "'PROXY new:1'; }",
     "PROXY new:1"},
    {"OwnHelpersCount",
     "function dnsDomainIs(h, d) { return true; } function FindProxyForURL(u, h) { return "
     "dnsDomainIs(h, 'x') ? 'PROXY own:1' : 'DIRECT'; }",
     "PROXY own:1"},
};

const SCRIPT_CASE helpers[] = {
    {"PlainHostName",
     when("isPlainHostName('www') && !isPlainHostName('www.example.com') && "
          "!isPlainHostName('::1')"),
     yes},
    {"DomainIs", when("dnsDomainIs('www.example.com', '.example.com')"), yes},
    {"DomainIsAnEnding", when("dnsDomainIs('wwwexample.com', 'example.com')"), yes},
    {"DomainIsNot",
     when("dnsDomainIs('www', '.example.com') || dnsDomainIs('www.example.org', "
          "'.example.com')"),
     no},
    {"LocalHostOrDomain",
     when("localHostOrDomainIs('www.example.com', 'www.example.com') && "
          "localHostOrDomainIs('www', 'www.example.com')"),
     yes},
    {"LocalHostOrDomainIsNot",
     when("localHostOrDomainIs('ww', 'www.example.com') || "
          "localHostOrDomainIs('www.example.org', 'www.example.com')"),
     no},
    {"Resolvable", when("isResolvable('www.example.com') && !isResolvable('no.such.name')"), yes},
    {"ResolvableInTheOlderFamilyOnly", when("isResolvable('six.example')"), no},
    {"InNetByName", when("isInNet('intra.corp.example', '10.0.0.0', '255.0.0.0')"), yes},
    {"InNetByAddress", when("isInNet('172.31.255.255', '172.16.0.0', '255.240.0.0')"), yes},
    {"InNetExactly",
     when("isInNet('10.1.2.3', '10.1.2.3', '255.255.255.255') && "
          "!isInNet('10.1.2.4', '10.1.2.3', '255.255.255.255')"),
     yes},
    {"InNetEverything", when("isInNet('198.51.100.1', '0.0.0.0', '0.0.0.0')"), yes},
    {"InNetOfHighAddresses", when("isInNet('200.1.2.3', '200.0.0.0', '255.0.0.0')"), yes},
    {"InNetBadMask",
     when("isInNet('10.1.2.3', '10.0.0.0', '255.0.0') || isInNet('10.1.2.3', "
          "'10.0.0.300', '255.0.0.0')"),
     no},
    {"InNetUnknownName", when("isInNet('no.such.name', '0.0.0.0', '0.0.0.0')"), no},
    {"Resolve", text_of("dnsResolve('dual.example')"), "192.0.2.8"},
    {"ResolveUnknown", text_of("dnsResolve('no.such.name')"), "null"},
    {"ConvertAddress", text_of("convert_addr('10.1.2.3')"), "167838211"},
    {"OwnAddress", text_of("myIpAddress()"), "10.20.30.40"},
    {"DomainLevels", text_of("[dnsDomainLevels('www'), dnsDomainLevels('www.example.com')]"),
     "0,2"},
    {"ExpressionStars",
     when("shExpMatch('http://a.example.com/x/y.html', '*/x/*') && "
          "!shExpMatch('http://a.example.com/y', '*/x/*')"),
     yes},
    {"ExpressionQuestionMarks",
     when("shExpMatch('host1', 'host?') && !shExpMatch('host', 'host?')"), yes},
    {"ExpressionDots", when("shExpMatch('axexample', 'a.example')"), no},
    // Browsers leave all characters but ".", "*" and "?" to the regular expression.
    {"ExpressionAlternatives",
     when("shExpMatch('www.corp.com', '(*.corp.com|corp.com)') && "
          "shExpMatch('corp.com', '(*.corp.com|corp.com)') && "
          "!shExpMatch('www.corp.org', '(*.corp.com|corp.com)')"),
     yes},
    {"ExpressionAlternativesWithoutParentheses",
     when("shExpMatch('a.example.org', 'a.*|*.b') && shExpMatch('x.b', 'a.*|*.b') && "
          "!shExpMatch('x.c', 'a.*|*.b')"),
     yes},
    {"ExpressionAlternativesOfUrls",
     when("shExpMatch(url, '(http|https)://*.example.com/*') && "
          "!shExpMatch('ftp://www.example.com/', '(http|https)://*.example.com/*')"),
     yes},
    {"ExpressionClasses",
     when("shExpMatch('host7', 'host[0-9]') && !shExpMatch('hostx', 'host[0-9]') && "
          "shExpMatch('hostx', 'host[^0-9]') && shExpMatch('host!', 'host[!0-9]')"),
     yes},
    {"ExpressionRepetition",
     when("shExpMatch('aab', 'a+b') && !shExpMatch('a+b', 'a+b') && shExpMatch('aaa', 'a{3}')"),
     yes},
    {"ExpressionBackslash",
     when("shExpMatch('a+b', 'a\\\\+b') && shExpMatch('host12', 'host\\\\d\\\\d')"), yes},
    {"ExpressionAnchors",
     when("shExpMatch('www', '^www$') && !shExpMatch('^www$', '^www$') && !shExpMatch('a$b', "
          "'a$b')"),
     yes},
    {"ExpressionClosingBrackets", when("shExpMatch('a]b}', 'a]b}')"), yes},
    {"ExpressionUnclosedClass", when("shExpMatch('a[b', 'a[b')"), no_directive},
    {"ExpressionUnclosedParenthesis", when("shExpMatch('a(b', 'a(b')"), no_directive},
    {"ExpressionPlainCharacters",
     when("shExpMatch('http://a-b_c~d/%20&x=1;y,z@:#!\\'\"<>', "
          "'http://a-b_c~d/%20&x=1;y,z@:#!\\'\"<>')"),
     yes},
    {"ExpressionDoubleStars", when("shExpMatch('a.b', '**.**') && !shExpMatch('ab', '**.**')"),
     yes},
    {"ExpressionEmpty", when("shExpMatch('', '') && shExpMatch('', '*') && !shExpMatch('a', '')"),
     yes},
    {"ExpressionLineBreak",
     when("!shExpMatch('a\\nb', 'a*b') && !shExpMatch('a\\nb', 'a?b') && "
          "shExpMatch('a\\nb', 'a\\nb')"),
     yes},
    {"ExpressionWhole", when("shExpMatch('www.example.com', 'example')"), no},
    {"ExpressionMindsCase", when("shExpMatch('WWW', 'www')"), no},
    {"ExpressionManyStars",
     when("shExpMatch(new Array(3000).join('a'), '*a*a*a*a*a*a*a*a*a*a*a*a*b')"), no},
    {"ResolvableInAnyFamily", when("isResolvableEx('six.example')"), yes},
    {"ResolveInAllFamilies", text_of("dnsResolveEx('dual.example')"), "2001:db8::8;192.0.2.8"},
    {"ResolveInAllFamiliesUnknown", text_of("dnsResolveEx('no.such.name')"), ""},
    {"OwnAddresses", text_of("myIpAddressEx()"), "2001:db8::40;10.20.30.40"},
    {"InPrefix",
     when("isInNetEx('2001:db8:1::9', '2001:db8::/32') && isInNetEx('10.1.2.3', "
          "'10.0.0.0/8') && isInNetEx('fe80::1', 'fe80::/10')"),
     yes},
    {"InPrefixList", when("isInNetEx('10.1.2.3', '2001:db8::/32;10.0.0.0/8')"), yes},
    {"InPrefixNot",
     when("isInNetEx('11.1.2.3', '10.0.0.0/8') || isInNetEx('10.1.2.3', "
          "'2001:db8::/32') || isInNetEx('10.1.2.3', '10.0.0.0') || "
          "isInNetEx('10.1.2.3', '10.0.0.0/33')"),
     no},
    {"InPrefixOdd",
     when("isInNetEx('10.129.0.1', '10.128.0.0/9') && !isInNetEx('10.127.0.1', "
          "'10.128.0.0/9')"),
     yes},
    {"SortedAddresses", text_of("sortIpAddressList('10.2.3.9;2001:db8::9;::1;10.1.0.0')"),
     "::1;2001:db8::9;10.1.0.0;10.2.3.9"},
    {"InPrefixWithoutTexts",
     text_of("[isInNetEx(), isInNetEx('10.0.0.1'), isInNetEx(1, '10.0.0.0/8'), "
             "isInNetEx('10.0.0.1', null)].map(String)"),
     "null,null,null,null"},
    {"SortedAddressesWithoutAText",
     text_of("[sortIpAddressList(), sortIpAddressList(null), sortIpAddressList(['10.0.0.1'])]"
             ".map(String)"),
     "null,null,null"},
    {"SortedAddressesInvalid",
     text_of("[sortIpAddressList(''), sortIpAddressList('a'), sortIpAddressList('10.0.0.1;;')]"),
     "false,false,false"},
    {"ResolveWithoutAName",
     text_of("[dnsResolve(), dnsResolve(null), dnsResolve({}), dnsResolveEx(), dnsResolveEx(null), "
             "isResolvable(), isResolvableEx(null), isInNet(null, '0.0.0.0', '0.0.0.0')]"
             ".map(String)"),
     "null,null,null,undefined,undefined,false,false,false"},
    {"ClientVersion", text_of("getClientVersion()"), "1.0"},
    {"AlertYieldsNothing", text_of("alert('x')"), "undefined"},
};

// The test's time zone shows 16:30:45 on Wednesday, 15 July 2026, unless stated otherwise.
const SCRIPT_CASE times[] = {
    {"Weekday", when("weekdayRange('WED') && !weekdayRange('TUE')"), yes},
    {"WeekdayRange", when("weekdayRange('MON', 'FRI') && !weekdayRange('SAT', 'SUN')"), yes},
    {"WeekdayRangeAround", when("weekdayRange('FRI', 'WED') && !weekdayRange('FRI', 'MON')"), yes},
    {"WeekdayInGreenwich",
     when("weekdayRange('WED', 'GMT') && weekdayRange('THU') && weekdayRange('WED', 'WED', 'GMT')"),
     yes, "h", "http://h/", "2026-07-15T23:00:00"},
    {"WeekdayUnknown", when("weekdayRange('XXX')"), no},
    {"DayOfMonth", when("dateRange(15) && !dateRange(16)"), yes},
    {"DaysOfMonth", when("dateRange(1, 15) && !dateRange(16, 31)"), yes},
    {"DaysOfMonthAround", when("dateRange(28, 15) && !dateRange(28, 3)"), yes},
    {"Month", when("dateRange('JUL') && !dateRange('AUG')"), yes},
    {"Months", when("dateRange('JAN', 'JUL') && !dateRange('AUG', 'DEC')"), yes},
    {"MonthsAround", when("dateRange('NOV', 'FEB')"), yes, "h", "http://h/", "2026-01-10T12:00:00"},
    {"Year", when("dateRange(2026) && !dateRange(2025)"), yes},
    {"Years", when("dateRange(2025, 2027) && !dateRange(2027, 2030) && !dateRange(2030, 2027)"),
     yes},
    {"DayAndMonth", when("dateRange(15, 'JUL') && !dateRange(15, 'AUG')"), yes},
    {"DaysAndMonths", when("dateRange(1, 'JUN', 15, 'AUG') && !dateRange(16, 'JUL', 1, 'AUG')"),
     yes},
    {"DaysAndMonthsAround", when("dateRange(20, 'DEC', 5, 'JAN')"), yes, "h", "http://h/",
     "2026-12-31T12:00:00"},
    {"MonthsAndYears", when("dateRange('OCT', 2025, 'MAR', 2027)"), yes},
    {"WholeDates",
     when("dateRange(1, 'JUN', 2025, 15, 'JUL', 2026) && !dateRange(16, 'JUL', 2026, "
          "1, 'JAN', 2027)"),
     yes},
    {"DateInGreenwich", when("dateRange(15, 'GMT') && dateRange(16)"), yes, "h", "http://h/",
     "2026-07-15T23:00:00"},
    {"DateOfNothing", when("dateRange() || dateRange('GMT') || dateRange(1, 2, 3)"), no},
    // As in browsers, the smaller half begins the range, and missing parts are those of the begin
    // or the end of the current year.
    {"DatesWithFiveArguments",
     when("dateRange(1, 'JUN', 15, 'JUL', 2026) && !dateRange(16, 'JUL', 1, 'AUG', 2026) && "
          "!dateRange(1, 'JUN', 14, 'JUL', 2026) && dateRange(1, 'JUN', 1, 'JAN', 2027)"),
     yes},
    {"DatesWithFiveArgumentsInAnyOrder",
     when("dateRange('JUL', 2026, 15, 'JUL', 2026) && dateRange(2025, 31, 2026, 'JUL', 15) && "
          "!dateRange(2027, 'JAN', 15, 'JUL', 2027)"),
     yes},
    {"DatesWithFiveArgumentsThatNeverHold",
     when("dateRange(1, 'JUN', 2026, 15, 'AUG') && !dateRange(1, 'JUN', 2025, 15, 'AUG')"), yes},
    {"DatesWithFiveArgumentsInGreenwich",
     when("dateRange(1, 'JUN', 15, 'JUL', 2026, 'GMT') && !dateRange(1, 'JUN', 15, 'JUL', 2026)"),
     yes, "h", "http://h/", "2026-07-15T23:00:00"},
    {"DatesWithThreeArguments", when("dateRange(1, 15, 'JUL') && !dateRange(1, 14, 'JUL')"), yes},
    {"DatesWithInvalidParts",
     when("dateRange(1, 'JUN', 15, 'XXX', 2026) || dateRange(1, 2, 15, 'JUL', 2026) || "
          "dateRange(1, 'JUN', 15, 16, 2026)"),
     no},
    {"Hour", when("timeRange(16) && !timeRange(17)"), yes},
    {"Hours", when("timeRange(8, 17) && timeRange(16, 16) && !timeRange(17, 20)"), yes},
    {"HoursAround", when("timeRange(22, 6)"), yes, "h", "http://h/", "2026-07-15T01:00:00"},
    {"HoursAroundNot", when("timeRange(22, 6)"), no},
    {"Minutes",
     when("timeRange(16, 0, 16, 30) && timeRange(8, 30, 17, 0) && !timeRange(16, 31, "
          "17, 0)"),
     yes},
    {"MinutesAround", when("timeRange(23, 30, 16, 30)"), yes},
    {"Seconds", when("timeRange(16, 30, 45, 16, 30, 45) && !timeRange(16, 30, 46, 17, 0, 0)"), yes},
    {"HoursInGreenwich",
     when("timeRange(14, 'GMT') && timeRange(14, 30, 15, 0, 'GMT') && "
          "!timeRange(16, 'GMT')"),
     yes},
    {"TimeOfNothing",
     when("timeRange() || timeRange('GMT') || timeRange(1, 2, 3) || "
          "timeRange('x')"),
     no},
    {"PaddedNumbers", when("timeRange(08, 00, 17, 00) && dateRange(01, 'JUL', 031, 'JUL')"), yes},
    {"PaddedNumbersOutsideOfStrings",
     "var s = '09'; /* 08 */ function FindProxyForURL() { return timeRange(08, 09, 23, 05) ? "
     "'PROXY h' + s + ':1' : /07/.source; }",
     "PROXY h09:1"},
};

const SCRIPT_CASE broken_files[] = {
    {"SyntaxError", "function FindProxyForURL(u, h { return \"PROXY a:1; DIRECT\"; }",
     "PROXY a:1; DIRECT"},
    {"SyntaxErrorBehindAComment",
     "// \"PROXY old:1\"\nfunction FindProxyForURL( { return 'PROXY new:1'; }", "PROXY new:1"},
    {"SyntaxErrorWithoutAProxy", "function FindProxyForURL( { return 'DIRECT'; }", no_directive},
    {"YoungSyntax", "function FindProxyForURL(u, h) { return h?.length ? 'PROXY y:1' : 'DIRECT'; }",
     "PROXY y:1"},
    {"NoFunction", "var proxy = 'PROXY n:1';", "PROXY n:1"},
    {"NoScript", "PROXY plain:1; DIRECT\n", "PROXY plain:1; DIRECT"},
    {"Page", "<html><body><p>Not found</p></body></html>", no_directive},
    {"Empty", "", no_directive},
    {"Exception", "function FindProxyForURL() { throw 'PROXY t:1'; }", no_directive},
    {"ExceptionWhileRead", "undefinedName(); function FindProxyForURL() { return 'PROXY t:1'; }",
     no_directive},
    {"Null", "function FindProxyForURL() { return null; } // 'PROXY x:1'", no_directive},
    {"Undefined", "function FindProxyForURL() { 'PROXY x:1'; }", no_directive},
    {"Number", "function FindProxyForURL() { return 3128; }", no_directive},
    {"Boolean", "function FindProxyForURL() { return true; }", no_directive},
    {"Object", "function FindProxyForURL() { return { proxy: 'PROXY x:1' }; }", no_directive},
    {"Function", "function FindProxyForURL() { return FindProxyForURL; }", no_directive},
};

}

TEST_P(PacScript, YieldsItsDirective)
{
    EXPECT_EQ(yielded(GetParam()), GetParam().expected);
    EXPECT_EQ(yielded_under_filter(GetParam()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(CompleteFiles, PacScript, ::testing::ValuesIn(whole_files),
                         [](const auto& given) { return given.param.name; });
INSTANTIATE_TEST_SUITE_P(Helpers, PacScript, ::testing::ValuesIn(helpers),
                         [](const auto& given) { return given.param.name; });
INSTANTIATE_TEST_SUITE_P(Times, PacScript, ::testing::ValuesIn(times),
                         [](const auto& given) { return given.param.name; });
INSTANTIATE_TEST_SUITE_P(BrokenFiles, PacScript, ::testing::ValuesIn(broken_files),
                         [](const auto& given) { return given.param.name; });
