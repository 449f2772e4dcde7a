#include "support/cfgq/cfgq_registry_key.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

TEST(RegistryKey, KeepsValuesFromOneObjectToTheNext)
{
    {
        CFGQ_REGISTRY_KEY key("Window / title");
        EXPECT_TRUE(key.get_value("text").isNull());
        key.set_value("text", "x");
        key.set_value("number", 7);
        key.set_value("bytes", QByteArray("\0\1", 2));
        key.set_value("a/b", true);
    }
    const CFGQ_REGISTRY_KEY key("Window / title");
    EXPECT_EQ(key.get_value("text").toString(), "x");
    EXPECT_EQ(key.get_value("number").toInt(), 7);
    EXPECT_EQ(key.get_value("bytes").toByteArray(), QByteArray("\0\1", 2));
    EXPECT_TRUE(key.get_value("a/b").toBool());
    EXPECT_TRUE(key.get_value("a").isNull());
    EXPECT_TRUE(CFGQ_REGISTRY_KEY("Other").get_value("text").isNull());
}

TEST(RegistryKey, IsStoredInTheUsersDirectory)
{
    CFGQ_REGISTRY_KEY("place").set_value("here", 1);
    EXPECT_TRUE(QFileInfo::exists(QDir::homePath() + "/.config/Orvane/vinst.conf"));
}

TEST(RegistryKey, ReplacesAValue)
{
    CFGQ_REGISTRY_KEY key("replaced");
    key.set_value("text", "old");
    key.set_value("text", QString::fromUtf8("n\u00fc\n100%"));
    EXPECT_EQ(CFGQ_REGISTRY_KEY("replaced").get_value("text").toString(),
              QString::fromUtf8("n\u00fc\n100%"));
}
