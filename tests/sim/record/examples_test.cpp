#include "tests/sim/record/recording_fixture.h"

#include <filesystem>
#include <fstream>

#include "sim/config/configuration.h"
#include "tests/sim/files.h"

namespace kvnsim {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> files_in(const fs::path &folder, const char *extension)
{
    std::vector<fs::path> found;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == extension)
            found.push_back(entry.path());
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string name_of(const testing::TestParamInfo<fs::path> &info)
{
    std::string name = info.param.stem().string();
    for (char &letter : name) {
        if (!std::isalnum(static_cast<unsigned char>(letter)))
            letter = '_';
    }
    return name;
}

/* ---- Each example, recorded now ---- */

class Example : public RecordingFixture, public testing::WithParamInterface<fs::path> {
protected:
    /* Bring the example up and take it down again. */
    void up_and_down()
    {
        Switch fresh;
        journal.faults = faults;
        fresh.apply(
            read_configuration(GetParam().filename().string(), content_of(GetParam())).desired);
        fresh.apply(Desired());
    }
    Faults faults;
};

TEST_P(Example, ReplaysAsRecorded)
{
    const Replay result = replayed(recorded([this] { up_and_down(); }));
    EXPECT_TRUE(result.same()) << told(result);
}

TEST_P(Example, ReplaysAsRecordedWithFailingCalls)
{
    for (const uint64_t seed : {1U, 2U, 3U, 4U, 5U}) {
        faults.set_rate(0.1, seed);
        const Replay result = replayed(recorded([this] { up_and_down(); }));
        EXPECT_TRUE(result.same()) << "seed " << seed << '\n' << told(result);
    }
}

INSTANTIATE_TEST_SUITE_P(Configuration, Example, testing::ValuesIn(files_in(KVN_EXAMPLES, ".json")),
                         name_of);

/* ---- Recordings of before ---- */

class Kept : public RecordingFixture, public testing::WithParamInterface<fs::path> {};

/* They are of the 32-bit build, as the switch has it, and hold for the other as well. */
TEST_P(Kept, LibraryDoesAsRecorded)
{
    std::ifstream file(GetParam());
    const Replay result = replay(file, GetParam().filename().string());
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_GT(result.requests, 0u);
    EXPECT_EQ(result.word_size, 32);
}

INSTANTIATE_TEST_SUITE_P(Recording, Kept, testing::ValuesIn(files_in(KVN_RECORDINGS, ".jsonl")),
                         name_of);

} // namespace
} // namespace kvnsim
