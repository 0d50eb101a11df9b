#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "host/results/OutputFolder.hpp"

namespace amisim {

/// A file that is written as the run goes. Where it cannot be, it is given up: removed at once, to
/// make room for what matters more, and among the folder's dropped files.
class BulkFile
{
public:
    BulkFile(OutputFolder& folder, std::string name);
    ~BulkFile() { Close(); }
    BulkFile(const BulkFile&) = delete;
    BulkFile& operator=(const BulkFile&) = delete;

    void Write(std::string_view bytes);
    /// Overwrites the file's beginning.
    void WriteAtStart(std::string_view bytes);
    void Close();

private:
    struct CloseFile
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void GiveUp();
    OutputFolder& folder_;
    std::string name_;
    std::unique_ptr<std::FILE, CloseFile> file_;  // absent once closed or given up
};

}  // namespace amisim
