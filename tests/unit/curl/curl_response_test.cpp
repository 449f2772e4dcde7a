#include "support/curl/curl_response.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace
{

using ACTION = CURL_BODY_DECISION::ACTION;

constexpr int weird_reply = 8;
constexpr int partial_file = 18;
constexpr int http_error = 22;
constexpr int range_error = 33;
constexpr int bad_encoding = 61;

/// Of a status line and the header lines below it.
CURL_RESPONSE_HEAD head(std::initializer_list<std::string> lines)
{
    CURL_RESPONSE_HEAD result;
    for (const std::string& line : lines)
    {
        if (const std::size_t colon = line.find(": "); colon != std::string::npos)
            result.set_field(line.substr(0, colon), line.substr(colon + 2));
        else
            result.status = std::stoi(line.substr(line.find(' ')));
    }
    return result;
}

}

TEST(ContentRange, IsReadOnlyIfValid)
{
    const auto part = curl_parse_content_range(" bytes 100-199/1000 ");
    ASSERT_TRUE(part);
    EXPECT_EQ(part->start, 100U);
    EXPECT_EQ(part->total, 1000U);
    const auto none = curl_parse_content_range("bytes */1000");
    ASSERT_TRUE(none);
    EXPECT_FALSE(none->start);
    EXPECT_EQ(none->total, 1000U);
    EXPECT_EQ(curl_parse_content_range("bytes 5000000000-5000000001/*")->start, 5000000000U);
    for (const char* bad : {"", "bytes", "items 0-1/2", "bytes 1/2", "bytes x-1/2", "bytes 1-/2",
                            "bytes -1/2", "bytes 99999999999999999999-1/2"})
        EXPECT_FALSE(curl_parse_content_range(bad)) << bad;
}

TEST(ResponseHead, RedirectsToHttpIfAnyLocationDoes)
{
    EXPECT_TRUE(head({"HTTP/1.1 302 F", "location: HTTP://x/"}).redirects_to_http());
    EXPECT_TRUE(head({"HTTP/1.1 302 F", "location: ", "location: http://x/"}).redirects_to_http());
    EXPECT_TRUE(head({"HTTP/1.1 302 F", "location: https://x/", "location: http://x/"})
                    .redirects_to_http());
    EXPECT_FALSE(head({"HTTP/1.1 302 F", "location: https://x/"}).redirects_to_http());
    EXPECT_FALSE(head({"HTTP/1.1 302 F", "location: /http:/x"}).redirects_to_http());
    EXPECT_FALSE(head({"HTTP/1.1 200 OK", "location: http://x/"}).redirects_to_http());
}

TEST(ResponseHead, HoldsItsFieldsByTheirNames)
{
    const CURL_RESPONSE_HEAD filled =
        head({"HTTP/1.1 302 Found", "location:  http://x/ ", "content-encoding: GZIP",
              "content-range: bytes 1-2/3", "content-length: 2"});
    EXPECT_TRUE(filled.redirects());
    EXPECT_EQ(filled.locations, std::vector<std::string>{"http://x/"});
    EXPECT_EQ(filled.content_encoding, "gzip");
    EXPECT_EQ(filled.content_range->start, 1U);
    EXPECT_EQ(filled.content_length, 2U);
    EXPECT_FALSE(head({"HTTP/1.1 302 Found"}).redirects());
    EXPECT_FALSE(head({"HTTP/1.1 201 Created", "location: http://x/"}).redirects());
}

TEST(BodyDecision, AppendsTheRequestedPart)
{
    const CURL_BODY_DECISION decision =
        curl_decide_on_body(head({"HTTP/1.1 206 P", "content-range: bytes 10-19/20"}), 10);
    EXPECT_EQ(decision.action, ACTION::write);
    EXPECT_EQ(decision.skip, 0U);
    EXPECT_EQ(decision.total, 20U);
}

TEST(BodyDecision, RefusesAPartThatWasNotRequested)
{
    for (const CURL_RESPONSE_HEAD& bad :
         {head({"HTTP/1.1 206 P", "content-range: bytes 9-19/20"}), head({"HTTP/1.1 206 P"}),
          head({"HTTP/1.1 206 P", "content-range: bytes */20"})})
    {
        const CURL_BODY_DECISION decision = curl_decide_on_body(bad, 10);
        EXPECT_EQ(decision.action, ACTION::refuse);
        EXPECT_EQ(decision.curl_code, range_error);
        EXPECT_NE(decision.error, "");
    }
    EXPECT_EQ(curl_decide_on_body(head({"HTTP/1.1 206 P", "content-range: bytes 1-2/3"}), 0).action,
              ACTION::refuse);
    EXPECT_EQ(curl_decide_on_body(head({"HTTP/1.1 206 P", "content-range: bytes 0-2/3"}), 0).action,
              ACTION::write);
}

TEST(BodyDecision, SkipsBytesOnDiskInAFullResponse)
{
    const CURL_BODY_DECISION decision =
        curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-length: 20"}), 10);
    EXPECT_EQ(decision.action, ACTION::write);
    EXPECT_EQ(decision.skip, 10U);
    EXPECT_EQ(decision.total, 20U);
    EXPECT_EQ(curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-length: 10"}), 10).action,
              ACTION::already_whole);
    EXPECT_EQ(curl_decide_on_body(head({"HTTP/1.1 200 OK"}), 0).action, ACTION::write);
}

TEST(BodyDecision, RefusesWhatIsNotTheFile)
{
    EXPECT_EQ(curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-encoding: gzip"}), 0).curl_code,
              bad_encoding);
    EXPECT_EQ(
        curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-encoding: identity"}), 0).action,
        ACTION::write);
    for (const char* status : {"HTTP/1.1 300 Many", "HTTP/1.1 202 Accepted", "HTTP/1.1 304 Same"})
        EXPECT_EQ(curl_decide_on_body(head({status}), 0).curl_code, weird_reply) << status;
}

TEST(TransferEnd, TreatsA416ForACompleteFileAsSuccess)
{
    const CURL_OUTCOME refused{http_error, "The requested URL returned error: 416"};
    const CURL_RESPONSE_HEAD whole = head({"HTTP/1.1 416 R", "content-range: bytes */20"});
    EXPECT_EQ(curl_judge_end(refused, whole, 20, 0, false).curl_code, 0);
    EXPECT_EQ(curl_judge_end(refused, whole, 19, 0, false).curl_code, range_error);
    EXPECT_EQ(curl_judge_end(refused, head({"HTTP/1.1 416 R"}), 20, 0, false).curl_code,
              range_error);
    EXPECT_EQ(curl_judge_end(refused, whole, 0, 0, false).curl_code, http_error);
}

TEST(TransferEnd, KeepsLibcurlsErrors)
{
    const CURL_OUTCOME end = curl_judge_end({56, "reset"}, head({"HTTP/1.1 200 OK"}), 0, 0, true);
    EXPECT_EQ(end.curl_code, 56);
    EXPECT_EQ(end.error, "reset");
}

TEST(TransferEnd, DetectsAFullResponseShorterThanTheFile)
{
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 200 OK"}), 10, 5, true).curl_code, partial_file);
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 200 OK"}), 10, 10, true).curl_code, 0);
}

TEST(TransferEnd, DetectsAResponseWithoutABodyThatIsNotTheFile)
{
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 304 Same"}), 0, 0, false).curl_code, weird_reply);
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 204 None"}), 0, 0, false).curl_code, weird_reply);
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 200 OK"}), 0, 0, false).curl_code, 0);
}
