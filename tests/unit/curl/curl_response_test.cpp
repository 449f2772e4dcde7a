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
constexpr int too_large = 63;

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
        curl_decide_on_body(head({"HTTP/1.1 206 P", "content-range: bytes 10-19/20"}), 10, {});
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
        const CURL_BODY_DECISION decision = curl_decide_on_body(bad, 10, {});
        EXPECT_EQ(decision.action, ACTION::refuse);
        EXPECT_EQ(decision.refusal.curl_code, range_error);
        EXPECT_NE(decision.refusal.error, "");
    }
    EXPECT_EQ(
        curl_decide_on_body(head({"HTTP/1.1 206 P", "content-range: bytes 1-2/3"}), 0, {}).action,
        ACTION::refuse);
    EXPECT_EQ(
        curl_decide_on_body(head({"HTTP/1.1 206 P", "content-range: bytes 0-2/3"}), 0, {}).action,
        ACTION::write);
}

TEST(BodyDecision, SkipsBytesOnDiskInAFullResponse)
{
    const CURL_BODY_DECISION decision =
        curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-length: 20"}), 10, {});
    EXPECT_EQ(decision.action, ACTION::write);
    EXPECT_EQ(decision.skip, 10U);
    EXPECT_EQ(decision.total, 20U);
    EXPECT_EQ(curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-length: 10"}), 10, {}).action,
              ACTION::already_whole);
    EXPECT_EQ(curl_decide_on_body(head({"HTTP/1.1 200 OK"}), 0, {}).action, ACTION::write);
}

TEST(BodyDecision, RefusesWhatIsNotTheFile)
{
    EXPECT_EQ(curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-encoding: gzip"}), 0, {})
                  .refusal.curl_code,
              bad_encoding);
    EXPECT_EQ(
        curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-encoding: identity"}), 0, {}).action,
        ACTION::write);
    for (const char* status : {"HTTP/1.1 300 Many", "HTTP/1.1 202 Accepted", "HTTP/1.1 304 Same"})
        EXPECT_EQ(curl_decide_on_body(head({status}), 0, {}).refusal.curl_code, weird_reply)
            << status;
}

TEST(BodyDecision, RefusesAnOfferOfAnotherSize)
{
    const CURL_FILE_SIZE listed{20, 0};
    for (const CURL_RESPONSE_HEAD& answer :
         {head({"HTTP/1.1 200 OK", "content-length: 19"}),
          head({"HTTP/1.1 206 P", "content-range: bytes 10-18/19"})})
    {
        const CURL_BODY_DECISION decision = curl_decide_on_body(answer, 10, listed);
        EXPECT_EQ(decision.action, ACTION::refuse);
        EXPECT_EQ(decision.refusal.curl_code, partial_file);
        EXPECT_EQ(decision.refusal.error, "The server offers 19 bytes, but the release lists 20");
    }
    const CURL_BODY_DECISION longer =
        curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-length: 21"}), 0, listed);
    EXPECT_EQ(longer.action, ACTION::refuse);
    EXPECT_EQ(longer.refusal.curl_code, too_large);
    EXPECT_EQ(longer.refusal.error, "The server offers 21 bytes, but the release lists 20");
}

TEST(BodyDecision, AcceptsAnUnknownTotal)
{
    const CURL_FILE_SIZE listed{20, 0};
    for (const CURL_RESPONSE_HEAD& answer :
         {head({"HTTP/1.1 200 OK"}), head({"HTTP/1.1 206 P", "content-range: bytes 10-19/*"})})
        EXPECT_EQ(curl_decide_on_body(answer, 10, listed).action, ACTION::write);
}

TEST(BodyDecision, RefusesAFileAboveTheLimit)
{
    const CURL_FILE_SIZE limited{0, 1000};
    EXPECT_EQ(
        curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-length: 1000"}), 0, limited).action,
        ACTION::write);
    const CURL_BODY_DECISION decision =
        curl_decide_on_body(head({"HTTP/1.1 200 OK", "content-length: 1001"}), 0, limited);
    EXPECT_EQ(decision.refusal.curl_code, too_large);
    EXPECT_EQ(decision.refusal.error, "The server offers 1001 bytes, but at most 1000 are read");
}

TEST(TransferEnd, ComparesTheTotalOfA416WithTheExpectedSize)
{
    const CURL_OUTCOME refused{http_error, "The requested URL returned error: 416"};
    const CURL_RESPONSE_HEAD offers_20 = head({"HTTP/1.1 416 R", "content-range: bytes */20"});
    const CURL_OUTCOME too_short = curl_judge_end(refused, offers_20, {30, 0}, 20, 0, false);
    EXPECT_EQ(too_short.curl_code, partial_file);
    EXPECT_EQ(too_short.error, "The server offers 20 bytes, but the release lists 30");
    EXPECT_EQ(curl_judge_end(refused, offers_20, {15, 0}, 10, 0, false).curl_code, too_large);
    EXPECT_EQ(curl_judge_end(refused, offers_20, {20, 0}, 10, 0, false).curl_code, range_error);
}

TEST(TransferEnd, TreatsA416ForACompleteFileAsSuccess)
{
    const CURL_OUTCOME refused{http_error, "The requested URL returned error: 416"};
    const CURL_RESPONSE_HEAD whole = head({"HTTP/1.1 416 R", "content-range: bytes */20"});
    EXPECT_EQ(curl_judge_end(refused, whole, {}, 20, 0, false).curl_code, 0);
    EXPECT_EQ(curl_judge_end(refused, whole, {}, 19, 0, false).curl_code, range_error);
    EXPECT_EQ(curl_judge_end(refused, head({"HTTP/1.1 416 R"}), {}, 20, 0, false).curl_code,
              range_error);
    EXPECT_EQ(curl_judge_end(refused, whole, {}, 0, 0, false).curl_code, http_error);
}

TEST(TransferEnd, KeepsLibcurlsErrors)
{
    const CURL_OUTCOME end =
        curl_judge_end({56, "reset"}, head({"HTTP/1.1 200 OK"}), {}, 0, 0, true);
    EXPECT_EQ(end.curl_code, 56);
    EXPECT_EQ(end.error, "reset");
}

TEST(TransferEnd, DetectsAFullResponseShorterThanTheFile)
{
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 200 OK"}), {}, 10, 5, true).curl_code,
              partial_file);
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 200 OK"}), {}, 10, 10, true).curl_code, 0);
}

TEST(TransferEnd, DetectsAResponseWithoutABodyThatIsNotTheFile)
{
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 304 Same"}), {}, 0, 0, false).curl_code,
              weird_reply);
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 204 None"}), {}, 0, 0, false).curl_code,
              weird_reply);
    EXPECT_EQ(curl_judge_end({}, head({"HTTP/1.1 200 OK"}), {}, 0, 0, false).curl_code, 0);
}
