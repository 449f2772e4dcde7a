#include "support/cfgq/cfgq_registry_key.h"

#include <gtest/gtest.h>

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
