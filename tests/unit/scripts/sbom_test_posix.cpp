#include "tests/harness/child_process.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <chrono>
#include <string>

using namespace std::chrono_literals;

namespace
{

const std::string header =
    "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n\n";

/// The SBOM of a product that contains packages with the given copyright files.
class Sbom : public ::testing::Test
{
protected:
    void add(const std::string& name, const std::string& copyright, const std::string& more = "")
    {
        dir.write(name, copyright);
        packages += "Name: " + name + "\nVersion: 1.2-3\nCopyright-File: " + (dir / name).string() +
                    "\nLicense-Text: licenses/" + name + ".txt\n" + more + "\n";
    }

    QJsonObject document()
    {
        dir.write("packages", packages);
        CHILD_PROCESS script(
            {"/bin/sh",
             {"-c", R"(exec "$0" product 1.0 86400 <"$1")",
              VINST_TEST_SOURCE_DIR "/packaging/sbom.pl", (dir / "packages").string()}});
        EXPECT_EQ(script.wait(300s).value().exit_code, 0);
        EXPECT_EQ(script.errors(), "");
        return QJsonDocument::fromJson(QByteArray::fromStdString(script.output())).object();
    }

    /// The licence of the only package.
    std::string license_of(const std::string& copyright)
    {
        packages.clear();
        add("zlib1g", copyright);
        const QJsonObject sbom = document();
        return sbom["packages"][1]["licenseDeclared"].toString().toStdString();
    }

    /// The same for a package with one paragraph about all files.
    std::string license_named(const std::string& name)
    {
        return license_of(header + "Files: *\nCopyright: 2001 Ada\nLicense: " + name +
                          "\n The text.\n");
    }

    TEMP_DIR dir;
    std::string packages;
};

TEST_F(Sbom, ListsThePackagesOfTheProduct)
{
    add("zlib1g", header + "Files: *\nCopyright: 2001 Ada\n 2002, Grace\nLicense: Zlib\n",
        "Source: zlib 1.2-3\nSupplier: Maintainers <zlib@example.org>\n"
        "Purl: pkg:deb/debian/zlib1g@1.2-3\n");
    const QJsonObject sbom = document();
    EXPECT_EQ(sbom["spdxVersion"].toString(), "SPDX-2.3");
    EXPECT_EQ(sbom["creationInfo"]["created"].toString(), "1970-01-02T00:00:00Z");
    ASSERT_EQ(sbom["packages"].toArray().size(), 2);
    EXPECT_EQ(sbom["packages"][0]["name"].toString(), "product");
    const QJsonObject package = sbom["packages"][1].toObject();
    EXPECT_EQ(package["name"].toString(), "zlib1g");
    EXPECT_EQ(package["versionInfo"].toString(), "1.2-3");
    EXPECT_EQ(package["licenseDeclared"].toString(), "Zlib");
    EXPECT_EQ(package["copyrightText"].toString(), "2001 Ada\n2002, Grace");
    EXPECT_EQ(package["sourceInfo"].toString(), "built from zlib 1.2-3");
    EXPECT_EQ(package["supplier"].toString(), "Organization: Maintainers <zlib@example.org>");
    EXPECT_EQ(package["externalRefs"][0]["referenceLocator"].toString(),
              "pkg:deb/debian/zlib1g@1.2-3");
    EXPECT_FALSE(sbom.contains("hasExtractedLicensingInfos"));
    ASSERT_EQ(sbom["relationships"].toArray().size(), 2);
    EXPECT_EQ(sbom["relationships"][1]["relationshipType"].toString(), "CONTAINS");
    EXPECT_EQ(sbom["relationships"][1]["relatedSpdxElement"], package["SPDXID"]);
}

TEST_F(Sbom, TranslatesTheNamesOfLicenses)
{
    EXPECT_EQ(license_named("Expat"), "MIT");
    EXPECT_EQ(license_named("BSD-3-clause"), "BSD-3-Clause");
    EXPECT_EQ(license_named("GPL-2"), "GPL-2.0-only");
    EXPECT_EQ(license_named("GPLv3+"), "GPL-3.0-or-later");
    EXPECT_EQ(license_named("LGPL-2.1+"), "LGPL-2.1-or-later");
    EXPECT_EQ(license_named("GFDL-1.2+"), "GFDL-1.2-or-later");
}

TEST_F(Sbom, TranslatesExpressions)
{
    EXPECT_EQ(license_named("LGPL-3 or GPL-2"), "LGPL-3.0-only OR GPL-2.0-only");
    EXPECT_EQ(license_named("Expat and Zlib"), "MIT AND Zlib");
    EXPECT_EQ(license_named("GPL-2+ or ISC, and Zlib"), "(GPL-2.0-or-later OR ISC) AND Zlib");
    EXPECT_EQ(license_named("LGPLv3+_or_GPLv2+"), "LGPL-3.0-or-later OR GPL-2.0-or-later");
}

TEST_F(Sbom, CombinesTheLicensesOfAllFilesButThoseOfThePackaging)
{
    EXPECT_EQ(license_of(header + "Files: *\nCopyright: A\nLicense: Expat and ISC\n\n"
                                  "Files: lib/*\nCopyright: B\nLicense: Zlib or GPL-2\n\n"
                                  "Files: more/*\nCopyright: B\nLicense: ISC\n\n"
                                  "Files: debian/*\nCopyright: C\nLicense: GPL-3+\n"),
              "ISC AND MIT AND (Zlib OR GPL-2.0-only)");
}

TEST_F(Sbom, QuotesOtherLicenses)
{
    add("libpng", header + "Files: *\nCopyright: A\nLicense: libpng\n\n"
                           "License: libpng\n You may\n .\n use it.\n");
    add("old", "This package may be used.\n");
    const QJsonObject sbom = document();
    EXPECT_EQ(sbom["packages"][1]["licenseDeclared"].toString(), "LicenseRef-libpng-libpng");
    EXPECT_EQ(sbom["packages"][2]["licenseDeclared"].toString(), "LicenseRef-old-copyright-file");
    const QJsonArray quoted = sbom["hasExtractedLicensingInfos"].toArray();
    ASSERT_EQ(quoted.size(), 2);
    EXPECT_EQ(quoted[0].toObject()["licenseId"].toString(), "LicenseRef-libpng-libpng");
    EXPECT_EQ(quoted[0].toObject()["extractedText"].toString(), "You may\n\nuse it.");
    EXPECT_EQ(quoted[1].toObject()["licenseId"].toString(), "LicenseRef-old-copyright-file");
    EXPECT_EQ(quoted[1].toObject()["extractedText"].toString(), "This package may be used.\n");
}

TEST_F(Sbom, KeepsAnExceptionWithItsLicense)
{
    add("libtool", header + "Files: *\nCopyright: A\nLicense: GPL-2+ with Libtool exception\n"
                            " As an exception, you may.\n");
    const QJsonObject sbom = document();
    EXPECT_EQ(sbom["packages"][1]["licenseDeclared"].toString(),
              "LicenseRef-libtool-GPL-2-or-later-with-Libtool-exception");
    EXPECT_EQ(sbom["hasExtractedLicensingInfos"][0]["extractedText"].toString(),
              "As an exception, you may.");
}

TEST_F(Sbom, QuotesATextOnceForPackagesWithTheSameSources)
{
    const std::string license = header + "Files: *\nCopyright: A\nLicense: Own\n";
    add("qt-core", license + " Do.\n", "Source: qt 5\n");
    add("qt-gui", license + " Do.\n", "Source: qt 5\n");
    add("qt-svg", license + " Don't.\n", "Source: qt 5\n");
    const QJsonObject sbom = document();
    EXPECT_EQ(sbom["packages"][1]["licenseDeclared"].toString(), "LicenseRef-qt-Own");
    EXPECT_EQ(sbom["packages"][2]["licenseDeclared"].toString(), "LicenseRef-qt-Own");
    EXPECT_EQ(sbom["packages"][3]["licenseDeclared"].toString(), "LicenseRef-qt-Own-2");
    EXPECT_EQ(sbom["hasExtractedLicensingInfos"].toArray().size(), 2);
}

}
