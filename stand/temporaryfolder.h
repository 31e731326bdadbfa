#pragma once

#include <filesystem>

namespace marksim {

/// A new folder for this process alone, removed with all that is in it at the end of the object's life.
class TemporaryFolder
{
public:
    /// Throws std::system_error.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace marksim
