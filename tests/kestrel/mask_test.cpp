#include "mask.h"

#include <gtest/gtest.h>

using Kestrel::parseMask;

TEST(Mask, AcceptsNumbersAndRangesInTextOrder) {
    const std::pair<const char*, const char*> cases[] = {
        {"0", "0 "},
        {"0,2,4", "0 2 4 "},
        {"1 , 3", "1 3 "},
        {"\t2\n", "2 "},
        {"0-3", "0 1 2 3 "},
        {"3-0", "0 1 2 3 "},
        {"2-2", "2 "},
        {"1,1", "1 1 "},
        {"5,0-1", "5 0 1 "},
        {"+5", "5 "},
        {"4294967295", "4294967295 "},
        {"4294967294-4294967295", "4294967294 4294967295 "}};
    for (const auto& [text, expected] : cases) {
        std::vector<unsigned> numbers;
        EXPECT_EQ(parseMask(text, numbers), Kestrel::meOk) << text;
        std::string listed;
        for (const unsigned number : numbers)
            listed += std::to_string(number) + " ";
        EXPECT_EQ(listed, expected) << text;
    }
}

TEST(Mask, RefusesEverythingElse) {
    for (const char* text :
         {"",     ",",          "0,",  ",0",    "0,,1", "a",     "1-",
          "-1",   "-",          "0x3", "1 - 3", "1- 3", "1-2-3", "1--2",
          "1 2",  "4294967296", "-+1", "++1",   "1.0",  "1e2",   "99999999999999999999",
          "\xff", "1;2"}) {
        std::vector<unsigned> numbers;
        EXPECT_EQ(parseMask(text, numbers), Kestrel::meSyntax) << text;
    }
}

TEST(Mask, RefusesLongListsBeforeTheyAreBuilt) {
    std::vector<unsigned> numbers;
    for (const char* text :
         {"0-4294967295", "4294967295-0", "0-65536", "0-65535,0", "1-4294967295,2"}) {
        EXPECT_EQ(parseMask(text, numbers), Kestrel::meNoMemory) << text;
        EXPECT_TRUE(numbers.empty()) << text;
    }
    EXPECT_EQ(parseMask("0-65535", numbers), Kestrel::meOk);
    EXPECT_EQ(numbers.size(), 65536u);
}
