#include "install/pac/pac_engine.h"

#include <gtest/gtest.h>

namespace
{

class PacEngineTest : public ::testing::Test
{
protected:
    std::string run(const std::string& script)
    {
        const PAC_ENVIRONMENT environment{
            [this](const std::string& name)
            {
                looked_up.push_back(name);
                return std::vector<std::string>{"192.0.2.7"};
            },
            [this](const std::vector<std::string>& toward)
            {
                routes.push_back(toward);
                return std::vector<std::string>{"192.0.2.8"};
            },
            [] { return std::int64_t{0}; },
            [this](const std::string& line) { lines.push_back(line); },
            [this](const std::string& line) { reports.push_back(line); }};
        return evaluate_pac(script, "http://h.example/", "h.example", environment)
            .value_or("(none)");
    }

    std::vector<std::string> looked_up;
    std::vector<std::vector<std::string>> routes; ///< for which its own addresses were asked
    std::vector<std::string> lines;
    std::vector<std::string> reports;
};

std::string returning(const std::string& expression)
{
    return "function FindProxyForURL(url, host) { return " + expression + "; }";
}

}

TEST_F(PacEngineTest, ResolvesANameOnce)
{
    EXPECT_EQ(run(returning("dnsResolve(host) + dnsResolve(host) + isResolvable(host)")),
              "192.0.2.7192.0.2.7true");
    EXPECT_EQ(looked_up, std::vector<std::string>{"h.example"});
}

TEST_F(PacEngineTest, NeverResolvesAddresses)
{
    EXPECT_EQ(run(returning("dnsResolve('10.0.0.1') + ' ' + dnsResolveEx('2001:db8::1')")),
              "10.0.0.1 2001:db8::1");
    EXPECT_TRUE(looked_up.empty());
}

TEST_F(PacEngineTest, ResolvesANameOnceInAnyCase)
{
    EXPECT_EQ(run(returning("dnsResolve('Www.Example') + dnsResolve('www.EXAMPLE')")),
              "192.0.2.7192.0.2.7");
    EXPECT_EQ(looked_up, std::vector<std::string>{"www.example"});
}

TEST_F(PacEngineTest, AsksOnceForTheAddressesTowardTheHost)
{
    EXPECT_EQ(run(returning("myIpAddress() + myIpAddressEx() + dnsResolve(host)")),
              "192.0.2.8192.0.2.8192.0.2.7");
    EXPECT_EQ(routes, std::vector<std::vector<std::string>>{{"192.0.2.7"}});
    EXPECT_EQ(looked_up, std::vector<std::string>{"h.example"});
}

TEST_F(PacEngineTest, ResolvesOnlyNames)
{
    EXPECT_EQ(run(returning("String([dnsResolve(null), isInNet(null, '10.0.0.0', '255.0.0.0'), "
                            "isResolvable(undefined), isInNet('1.2.3.456', '0.0.0.0', '0.0.0.0'), "
                            "dnsResolve(7), dnsResolveEx(null)])")),
              ",false,false,false,,");
    EXPECT_TRUE(looked_up.empty());
}

TEST_F(PacEngineTest, LimitsTheNumberOfResolvedNames)
{
    EXPECT_EQ(run("function FindProxyForURL() { var found = 0; for (var i = 0; i < 1000; ++i) "
                  "if (dnsResolve('n' + i) !== null) ++found; return String(found); }"),
              "32");
    EXPECT_EQ(looked_up.size(), 32U);
    EXPECT_EQ(lines,
              std::vector<std::string>(
                  {"The script looks up too many names; the others are treated as unknown."}));
}

TEST_F(PacEngineTest, NeverResolvesOverlongNames)
{
    EXPECT_EQ(run(returning("String(dnsResolve(new Array(400).join('x')) + dnsResolve(''))")), "0");
    EXPECT_TRUE(looked_up.empty());
}

TEST_F(PacEngineTest, LimitsTheNumberOfLoggedLines)
{
    EXPECT_EQ(run("for (var i = 0; i < 1000; ++i) alert(new Array(1000).join('x')); " +
                  returning("'DIRECT'")),
              "DIRECT");
    EXPECT_EQ(lines, std::vector<std::string>(100, "alert: " + std::string(493, 'x')));
}

TEST_F(PacEngineTest, ReportsTheLineOfAnException)
{
    EXPECT_EQ(run("var a;\n\n" + returning("a.b.c")), "(none)");
    EXPECT_EQ(lines, std::vector<std::string>({"The script fails in line 3: TypeError: Cannot "
                                               "read property 'b' of undefined"}));
}

TEST_F(PacEngineTest, TreatsAnyThrownValueAsAnException)
{
    for (const std::string thrown :
         {"['PROXY evil:1']", "['PROXY evil:1', false]", "'PROXY evil:1'", "[[]]", "null",
          "new String('PROXY evil:1')", "function () { return 'PROXY evil:1'; }"})
    {
        EXPECT_EQ(run("function FindProxyForURL() { throw " + thrown + "; }"), "(none)") << thrown;
        EXPECT_EQ(run("throw " + thrown + "; " + returning("'PROXY evil:1'")), "(none)") << thrown;
    }
    EXPECT_EQ(lines,
              std::vector<std::string>(14, "The script throws a value that is not an error."));
}

TEST_F(PacEngineTest, HidesItsOwnFunctionsFromTheScript)
{
    EXPECT_EQ(run("var found = Object.getOwnPropertyNames(this).filter(function (name) { return "
                  "/^_|native|pac/i.test(name); }); " +
                  returning("typeof __pac + found.join()")),
              "undefined");
    EXPECT_EQ(run("function __pac() { return 'PROXY own:1'; } " + returning("__pac()")),
              "PROXY own:1");
}

TEST_F(PacEngineTest, RunsNothingOfAScriptThatCannotBeParsed)
{
    EXPECT_EQ(run("alert('ran'); dnsResolve('ran.example');\n}"), "(none)");
    EXPECT_TRUE(looked_up.empty());
    EXPECT_TRUE(lines.empty());
}

TEST_F(PacEngineTest, ReportsTheLineOfASyntaxError)
{
    EXPECT_EQ(run("// line 1\nvar a = 1;\ntry { a(); } catch { }\n" + returning("'PROXY a:1'")),
              "PROXY a:1");
    EXPECT_EQ(reports, std::vector<std::string>(
                           {"The script can't be parsed: line 3: SyntaxError: Syntax error",
                            "The first proxy directive in its text is used: PROXY a:1"}));
    EXPECT_TRUE(lines.empty());
}

TEST_F(PacEngineTest, ReportsALimitedPartOfAScriptThatCannotBeParsed)
{
    EXPECT_EQ(run("var " + std::string(100'000, 'x') + " " + std::string(100'000, 'y')), "(none)");
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_LE(reports[0].size(), 400U);
}

TEST_F(PacEngineTest, RunsTheScriptOnce)
{
    EXPECT_EQ(run("alert('ran'); " + returning("'DIRECT'")), "DIRECT");
    EXPECT_EQ(lines, std::vector<std::string>{"alert: ran"});
}

TEST_F(PacEngineTest, ReportsAnUnusablePattern)
{
    EXPECT_EQ(run(returning("shExpMatch(host, '*.(corp')")), "(none)");
    EXPECT_EQ(lines, std::vector<std::string>(
                         {"The script fails in a predefined function: SyntaxError: shExpMatch "
                          "can't use the pattern *.(corp"}));
}

TEST_F(PacEngineTest, ReportsAMissingFunction)
{
    EXPECT_EQ(run("var FindProxyForURL = 'PROXY a';"), "(none)");
    EXPECT_EQ(reports, std::vector<std::string>({"The script doesn't define FindProxyForURL."}));
}

TEST_F(PacEngineTest, ReportsThatTheTextIsUsed)
{
    EXPECT_EQ(run("PROXY a:1"), "PROXY a:1");
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[1], "The first proxy directive in its text is used: PROXY a:1");
}

TEST_F(PacEngineTest, StartsWithNewStateEachTime)
{
    EXPECT_EQ(run("var leaked = 1; " + returning("'DIRECT'")), "DIRECT");
    EXPECT_EQ(run(returning("typeof leaked")), "undefined");
}
