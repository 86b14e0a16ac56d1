#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace kvnsim {

/* Empty when there is no such file. */
inline std::string content_of(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/* The files in the folders that KVN_SAMPLES names, separated by ':', in the order of their names:
 * configurations of real switches. Empty without the variable. */
inline std::vector<std::filesystem::path> sample_files()
{
    std::vector<std::filesystem::path> files;
    const char *const folders = std::getenv("KVN_SAMPLES");
    std::istringstream list(folders != nullptr ? folders : "");
    for (std::string folder; std::getline(list, folder, ':');) {
        for (const auto &entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".json")
                files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end(),
              [](const auto &a, const auto &b) { return a.filename() < b.filename(); });
    return files;
}

/* A file name for a test's own use, removed at its end. */
class ScratchFile {
public:
    explicit ScratchFile(const std::string &name)
        : path(testing::TempDir() + "kvnsim_" +
               testing::UnitTest::GetInstance()->current_test_info()->name() + "_" +
               std::to_string(getpid()) + "_" + name)
    {
        std::remove(path.c_str());
    }
    ~ScratchFile() { std::remove(path.c_str()); }
    ScratchFile(const ScratchFile &) = delete;
    ScratchFile &operator=(const ScratchFile &) = delete;
    const std::string path;
};

} // namespace kvnsim
