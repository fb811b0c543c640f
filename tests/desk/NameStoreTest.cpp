#include "NameStore.h"

#include "ApiError.h"
#include "support/TemporaryFolder.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tarvik::desk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

TEST(NameStore, KeepsTheNamesOfEachCameraInOneFile)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.path() / "new" / "names.json";
    NameStore a(path, "a:7453");
    NameStore b(path, "b:7453");
    a.set(3, "Washer \"M8\"");
    b.set(3, "Lid");
    a.set(4, "Gone");
    a.set(4, "");
    EXPECT_THAT(NameStore(path, "a:7453").names(), ElementsAre(Pair(3, "Washer \"M8\"")));
    EXPECT_THAT(NameStore(path, "b:7453").names(), ElementsAre(Pair(3, "Lid")));
    EXPECT_THAT(NameStore(path, "c:7453").names(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(path + ".tmp"));
}

TEST(NameStore, AFailedWriteLeavesFileAndNamesAsTheyWere)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.path() / "names.json";
    NameStore store(path, "a");
    store.set(1, "One");
    std::filesystem::create_directory(path + ".tmp"); // where the new file would be written
    EXPECT_THAT(test::thrown<Exception>([&] { store.set(2, "Two"); }), HasSubstr("Cannot write"));
    EXPECT_THAT(store.names(), ElementsAre(Pair(1, "One")));
    EXPECT_THAT(NameStore(path, "a").names(), ElementsAre(Pair(1, "One")));
}

TEST(NameStore, RefusesForeignFilesAndBrokenNames)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.path() / "names.json";
    for (const char* const text : {"", "[1]", "{\"cameras\": 3}", "not json"}) {
        SCOPED_TRACE(text);
        std::ofstream(path) << text;
        EXPECT_THAT(test::thrown<Exception>([&] { const NameStore store(path, "a"); }),
                    HasSubstr("holds no names"));
    }
    NameStore store(folder.path() / "good.json", "a");
    EXPECT_THAT(test::thrown<ApiError>([&] { store.set(1, std::string(81, 'x')); }),
                HasSubstr("at most 80 bytes"));
    EXPECT_THAT(test::thrown<ApiError>([&] { store.set(1, "two\nlines"); }),
                HasSubstr("without control characters"));
}

} // namespace
} // namespace tarvik::desk
