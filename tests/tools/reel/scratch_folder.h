// A folder of its own for each test, gone with it.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace reel {

struct scratch_folder {
    std::string path;

    scratch_folder() {
        std::string name = (std::filesystem::temp_directory_path() / "reel-test-XXXXXX").string();
        path = ::mkdtemp(name.data());
    }
    scratch_folder(const scratch_folder &) = delete;
    scratch_folder &operator=(const scratch_folder &) = delete;
    ~scratch_folder() {
        std::error_code error;
        std::filesystem::remove_all(path, error);
    }

    std::string operator/(const std::string &name) const { return path + "/" + name; }

    // Names of everything in it, hidden or not.
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto &entry : std::filesystem::directory_iterator(path))
            all.push_back(entry.path().filename().string());
        std::sort(all.begin(), all.end());
        return all;
    }
};

inline void write_bytes(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string read_bytes(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace reel
