#include "session/uuid.h"

#include <gtest/gtest.h>

#include <unordered_set>

using korvalume::Uuid;

TEST(Uuid, ParsesEitherCaseAndWritesUpperCase) {
    const auto lower = Uuid::parse("3f2a9c1d-5b6e-4f70-8a9b-0c1d2e3f4a5b");
    ASSERT_TRUE(lower);
    EXPECT_EQ(lower->string(), "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B");
    EXPECT_EQ(lower->bytes[0], 0x3F);
    EXPECT_EQ(lower->bytes[15], 0x5B);
    EXPECT_EQ(Uuid::parse(lower->string()), lower);
}

TEST(Uuid, RefusesAnythingButTheHyphenatedForm) {
    for (const char* text :
         {"", "3F2A9C1D5B6E4F708A9B0C1D2E3F4A5B", "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5",
          "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B0", "3F2A9C1D-5B6E-4F70-8A9B_0C1D2E3F4A5B",
          "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5G", "{3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A}",
          "3F2A9C1-D5B6E-4F70-8A9B-0C1D2E3F4A5B"})
        EXPECT_FALSE(Uuid::parse(text)) << text;
}

TEST(Uuid, RandomIdsAreVersionFourAndDistinct) {
    std::unordered_set<Uuid> seen;
    for (int i = 0; i < 1000; ++i) {
        const Uuid id = Uuid::random();
        EXPECT_EQ(id.bytes[6] >> 4, 4);
        EXPECT_EQ(id.bytes[8] >> 6, 2);
        EXPECT_EQ(id.string()[14], '4');
        seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 1000u);
}
