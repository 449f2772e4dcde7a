#include "install/vinst/download/vinst_attempt_errors.h"

#include "support/curl/curl_progress_data.h"

#include <gtest/gtest.h>

namespace
{

void note(VINST_ATTEMPT_ERRORS& errors, int http_code, int curl_code)
{
    CURL_PROGRESS_DATA data;
    data.http_code = http_code;
    data.curl_code = curl_code;
    errors.note(data);
}

}

TEST(AttemptErrors, ThatMayPassAreNotLasting)
{
    VINST_ATTEMPT_ERRORS errors;
    note(errors, 503, 22);
    note(errors, -1, 7);
    EXPECT_EQ(errors.fault(), VINST_ATTEMPT_FAULT::passing);
    EXPECT_TRUE(errors.lasting_texts().isEmpty());
}

TEST(AttemptErrors, OfMissingFilesAndOfWritingAreLasting)
{
    VINST_ATTEMPT_ERRORS missing;
    note(missing, 404, 22);
    EXPECT_TRUE(missing.not_found_error());
    EXPECT_FALSE(missing.write_error());
    EXPECT_EQ(missing.fault(), VINST_ATTEMPT_FAULT::lasting);
    EXPECT_EQ(missing.lasting_texts(), QStringList{"Error 404: File not found."});

    for (const int code : {23, 63})
    {
        VINST_ATTEMPT_ERRORS of_writing;
        note(of_writing, 200, code);
        EXPECT_TRUE(of_writing.write_error()) << code;
        EXPECT_EQ(of_writing.fault(), VINST_ATTEMPT_FAULT::lasting) << code;
    }
}

TEST(AttemptErrors, CountAWrongChecksumAsAWriteError)
{
    VINST_ATTEMPT_ERRORS errors;
    errors.note_wrong_checksum();
    EXPECT_TRUE(errors.write_error());
}

TEST(AttemptErrors, OfARefusedLoginEndTheRun)
{
    VINST_ATTEMPT_ERRORS errors;
    note(errors, 404, 22);
    errors.note_refused_login();
    EXPECT_EQ(errors.fault(), VINST_ATTEMPT_FAULT::final);
    EXPECT_EQ(errors.lasting_texts().size(), 2);
}

TEST(AttemptErrors, KeepALineForEachPass)
{
    VINST_ATTEMPT_ERRORS errors;
    errors.add_line("a: Error");
    errors.add_line("a: Error");
    EXPECT_EQ(errors.error_lines(), (QStringList{"a: Error", "a: Error"}));
}
