#include "host/results/BulkFile.hpp"

#include <cerrno>

#include "base/Files.hpp"

namespace amisim {

BulkFile::BulkFile(OutputFolder& folder, std::string name) : folder_(folder), name_(std::move(name))
{
    errno = folder_.Claim(name_);
    const int descriptor = errno == 0 ? CreateFile(folder_.Path() / name_) : -1;
    if (descriptor >= 0) file_.reset(fdopen(descriptor, "wb"));
    if (!file_) GiveUp();
}

void BulkFile::GiveUp()
{
    const int error = errno;
    file_.reset();
    folder_.Drop(name_, error);
}

void BulkFile::Write(std::string_view bytes)
{
    if (file_ && std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) GiveUp();
}

void BulkFile::WriteAtStart(std::string_view bytes)
{
    if (file_ && std::fseek(file_.get(), 0, SEEK_SET) != 0) GiveUp();
    Write(bytes);
}

void BulkFile::Close()
{
    if (file_ && std::fclose(file_.release()) != 0) GiveUp();
}

}  // namespace amisim
