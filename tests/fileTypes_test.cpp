#include "fileTypes.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace TESK_ZAN;

namespace
{

TEST(FileType, knowsEachEndingInItsThreeSpellings)
{
    const std::vector<std::pair<std::string, FileType>> vEndings{
        {"stl", FT_STL},   {"ply", FT_PLY}, {"xyz", FT_ASCII}, {"txt", FT_ASCII},
        {"asc", FT_ASCII}, {"bin", FT_BIN}, {"list", FT_LIST}};
    for (const auto& [ending, type] : vEndings) {
        std::string capitals = ending;
        for (char& c : capitals)
            c = char(c - 'a' + 'A');
        const std::string mixed = capitals.substr(0, 1) + ending.substr(1);
        for (const std::string& spelling : {ending, capitals, mixed})
            EXPECT_EQ(getFileType("folder.d/scan." + spelling), type) << spelling;
        const std::string wrong = ending.substr(0, 1) + capitals.substr(1);
        EXPECT_EQ(getFileType("scan." + wrong), FT_UNKNOWN) << wrong;
    }
}

TEST(FileType, valuesAreThoseThatHostsStore)
{
    EXPECT_EQ(int(FT_STL), 0);
    EXPECT_EQ(int(FT_PLY), 1);
    EXPECT_EQ(int(FT_ASCII), 2);
    EXPECT_EQ(int(FT_BIN), 3);
    EXPECT_EQ(int(FT_LIST), 4);
    EXPECT_EQ(int(FT_UNKNOWN), 5);
}

TEST(FileType, namesTooShortForAnEndingAreUnknownAndDoNotThrow)
{
    for (const char* name : {"", "a", "ply", "abcd", ".pl"})
        EXPECT_EQ(getFileType(name), FT_UNKNOWN) << name;
    EXPECT_EQ(getFileType(".ply"), FT_PLY);
    EXPECT_EQ(getFileType(".list"), FT_LIST);
}

TEST(FileType, onlyTheEndOfTheNameCounts)
{
    EXPECT_EQ(getFileType("scan.ply.gz"), FT_UNKNOWN);
    EXPECT_EQ(getFileType("scanply"), FT_UNKNOWN);
    EXPECT_EQ(getFileType("scan.xyz.bin"), FT_BIN);
}

} // namespace
