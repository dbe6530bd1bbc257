#pragma once

// A folder of its own for a test, removed with everything in it at the end.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "znTest-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder");
        m_path = std::filesystem::canonical(pattern);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(const std::string& name = "") const
    {
        return name.empty() ? m_path.string() : (m_path / name).string();
    }

    /// Writes a file, with the folders it needs.
    /// @return its path
    std::string write(const std::string& name, const std::string& content) const
    {
        const std::filesystem::path file = m_path / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file.string();
    }

    /// @return content of a file; "(none)" if it is not there
    std::string read(const std::string& name) const
    {
        std::ifstream stream(m_path / name, std::ios::binary);
        if (!stream)
            return "(none)";
        return std::string(std::istreambuf_iterator<char>(stream), {});
    }

    /// Names of all that lies directly in the folder.
    std::set<std::string> names() const
    {
        std::set<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
            result.insert(entry.path().filename().string());
        return result;
    }

private:
    std::filesystem::path m_path;
};
