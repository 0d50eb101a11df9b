#pragma once

#include <filesystem>
#include <random>
#include <string>

/// A new working folder for as long as it lives: the receiver writes its logs where it stands.
class TemporaryFolder
{
public:
    TemporaryFolder() : m_before(std::filesystem::current_path())
    {
        do {
            m_path = std::filesystem::temp_directory_path() /
                     ("retimer-" + std::to_string(std::random_device()()));
        } while (!std::filesystem::create_directory(m_path));
        std::filesystem::current_path(m_path);
    }
    ~TemporaryFolder()
    {
        std::filesystem::current_path(m_before);
        std::filesystem::remove_all(m_path);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_before;
    std::filesystem::path m_path;
};
