#include "support/curl/curl_ca_store.h"
#include "support/curl/curl_ca_store_platform.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <QtGlobal>
#include <string>
#include <vector>

namespace
{

const std::vector<std::string> places = {
    "/etc/ssl/certs/ca-certificates.crt",
    "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem",
    "/etc/pki/tls/certs/ca-bundle.crt",
    "/etc/ssl/ca-bundle.pem",
    "/var/lib/ca-certificates/ca-bundle.pem",
    "/etc/ssl/cert.pem",
    "/etc/ca-certificates/extracted/tls-ca-bundle.pem",
};

/// The test program removes the variables at its start.
class CaStore : public ::testing::Test
{
protected:
    ~CaStore() override
    {
        for (const char* name : {"SSL_CERT_FILE", "CURL_CA_BUNDLE", "SSL_CERT_DIR"})
            qunsetenv(name);
    }
};

TEST(CaFile, IsFoundAtThePlaceOfEachDistribution)
{
    for (const std::string& place : places)
    {
        const TEMP_DIR root;
        EXPECT_EQ(curl_well_known_ca_file(root.str()), std::nullopt);
        write_file(root.path() / place.substr(1), "certificates");
        EXPECT_EQ(curl_well_known_ca_file(root.str()), root.str() + place);
    }
}

TEST(CaFile, IsTheFirstOfTheList)
{
    const TEMP_DIR root;
    for (auto place = places.rbegin(); place != places.rend(); ++place)
    {
        write_file(root.path() / place->substr(1), "certificates");
        EXPECT_EQ(curl_well_known_ca_file(root.str()), root.str() + *place);
    }
}

TEST_F(CaStore, IsTheSystemsByDefault)
{
    const CURL_CA_STORE store = curl_find_ca_store();
    EXPECT_EQ(store.file, curl_well_known_ca_file());
    EXPECT_EQ(store.directory, std::nullopt);
    qputenv("SSL_CERT_FILE", "");
    qputenv("SSL_CERT_DIR", "");
    EXPECT_EQ(curl_find_ca_store().file, curl_well_known_ca_file());
    EXPECT_EQ(curl_find_ca_store().directory, std::nullopt);
}

TEST_F(CaStore, HasNoDirectoryIfOnlyAFileIsNamed)
{
    qputenv("CURL_CA_BUNDLE", "/second.pem");
    EXPECT_EQ(curl_find_ca_store().file, "/second.pem");
    EXPECT_EQ(curl_find_ca_store().directory, "");
    qputenv("SSL_CERT_FILE", "/first.pem");
    EXPECT_EQ(curl_find_ca_store().file, "/first.pem");
}

TEST_F(CaStore, HasNoFileIfOnlyADirectoryIsNamed)
{
    qputenv("SSL_CERT_DIR", "/certificates");
    EXPECT_EQ(curl_find_ca_store().file, "");
    EXPECT_EQ(curl_find_ca_store().directory, "/certificates");
}

TEST_F(CaStore, HasBothIfBothAreNamed)
{
    qputenv("SSL_CERT_FILE", "/first.pem");
    qputenv("SSL_CERT_DIR", "/certificates");
    EXPECT_EQ(curl_find_ca_store().file, "/first.pem");
    EXPECT_EQ(curl_find_ca_store().directory, "/certificates");
}

}
