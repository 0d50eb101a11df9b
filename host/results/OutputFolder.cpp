#include "host/results/OutputFolder.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <stdexcept>

#include "base/Error.hpp"
#include "base/Files.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMarkName = ".amisim";
constexpr std::size_t kLongestMark = 1 << 20;

std::string FirstLine(std::string_view kind)
{
    return fmt::format("amisim {}", kind);
}

}  // namespace

OutputFolder::Mark::~Mark()
{
    if (file >= 0) close(file);
}

OutputFolder::OutputFolder(fs::path folder, const Kind& kind, Use use,
                           const std::vector<fs::path>& inputs)
    : folder_(std::move(folder)), kind_(kind), alone_(use == Use::kAlone)
{
    CheckInputs(inputs);
    // Without a mark nothing here is amisim's; then not even that is put there.
    if (!Exists(kMarkName)) CheckNames();
    Make();
    Lock(use);
    CheckMark();
    CheckNames();
    if (alone_) unlink((folder_ / ".amisim.part").c_str());
}

OutputFolder::~OutputFolder()
{
    if (!alone_) return;
    ReadMark();  // those who need no lock may have added to it
    std::erase_if(list_, [&](const auto& name) { return IsKnown(name) && !Exists(name); });
    if (!list_.empty()) {
        Rewrite();
        return;
    }
    unlink((folder_ / kMarkName).c_str());
    for (const auto& path : made_) rmdir(path.c_str());
}

void OutputFolder::Fail(const std::string& what) const
{
    throw Error(ExitCode::kInput, fmt::format("{}: {}", folder_.string(), what));
}

void OutputFolder::CheckInputs(const std::vector<fs::path>& inputs) const
{
    for (const auto& input : inputs) {
        for (const auto& name : kind_.files) {
            std::error_code error;
            if (!fs::equivalent(input, folder_ / name, error)) continue;
            throw Error(ExitCode::kInput,
                        fmt::format("{}: is read by this {}, which would replace it: give another "
                                    "--out",
                                    input.string(), kind_.name));
        }
    }
}

void OutputFolder::CheckNames() const
{
    constexpr std::size_t kMostNamed = 3;
    std::size_t count = 0;
    std::string names;
    for (const auto& name : kind_.files) {
        if (list_.contains(name) || !Exists(name)) continue;
        if (++count <= kMostNamed) names += (count > 1 ? ", " : "") + name;
    }
    if (count == 0) return;
    if (count > kMostNamed) names += fmt::format(" and {} more", count - kMostNamed);
    Fail(fmt::format("{} {} in the way: no {} has written {} here: move {}, or give another --out",
                     names, count > 1 ? "are" : "is", kind_.name, count > 1 ? "them" : "it",
                     count > 1 ? "them" : "it"));
}

void OutputFolder::Make()
{
    std::error_code error;
    for (fs::path path = folder_; !path.empty() && !fs::exists(path, error);
         path = path.parent_path())
        made_.push_back(path);
    fs::create_directories(folder_, error);
    if (error) Fail(fmt::format("cannot be created: {}", error.message()));
}

void OutputFolder::Lock(Use use)
{
    const std::string path = folder_ / kMarkName;
    while (true) {
        mark_.file = open(path.c_str(),
                          O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
        struct stat opened
        {
        };
        if (mark_.file < 0 && errno != ELOOP)
            Fail(fmt::format("cannot be written: {}", base::SystemText(errno)));
        if (mark_.file < 0 || fstat(mark_.file, &opened) != 0 || !S_ISREG(opened.st_mode))
            Fail(fmt::format("{} is in the way: it is no file", kMarkName));
        if (use == Use::kWithoutLock) return;
        // A file system without locks has to do without.
        if (flock(mark_.file, (alone_ ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0 &&
            errno == EWOULDBLOCK) {
            Fail(
                fmt::format("another {} is at work in this folder: wait for it, or give another "
                            "--out",
                            kind_.name));
        }
        struct stat there
        {
        };
        if (stat(path.c_str(), &there) == 0 && there.st_ino == opened.st_ino) return;
        close(mark_.file);  // removed by the one who had it before: what is locked is not the mark
    }
}

std::string OutputFolder::ReadMark()
{
    std::string text = ReadRegularFile(folder_ / kMarkName, kLongestMark).value_or("");
    std::istringstream lines(text.substr(0, text.rfind('\n') + 1));
    std::string name;
    std::getline(lines, name);
    while (std::getline(lines, name)) list_.insert(name);
    return text;
}

void OutputFolder::CheckMark()
{
    const std::string first = FirstLine(kind_.name);
    const std::string text = ReadMark();
    if (text.size() <= first.size() && first.starts_with(text)) {
        Rewrite();  // it is new
    } else if (!text.starts_with("amisim ")) {
        Fail(fmt::format("{} is in the way: amisim has not written it", kMarkName));
    } else if (!text.starts_with(first + "\n")) {
        const std::size_t kind = text.find(' ');
        Fail(fmt::format("holds what a{} has written: give the {} a folder of its own with --out",
                         text.substr(kind, text.find('\n') - kind), kind_.name));
    } else if (text.back() != '\n') {
        Append("");  // a line that was being written when the machine stopped is none
    }
}

int OutputFolder::Append(const std::string& line) const
{
    const std::string text = line + "\n";
    errno = 0;
    const ssize_t written = write(mark_.file, text.data(), text.size());
    return written == std::ssize(text) ? 0 : errno ? errno : ENOSPC;
}

void OutputFolder::Rewrite()
{
    std::string text = FirstLine(kind_.name);
    for (const auto& name : list_) text += "\n" + name;
    if (ftruncate(mark_.file, 0) == 0) Append(text);
}

bool OutputFolder::IsKnown(const std::string& name) const
{
    return std::ranges::find(kind_.files, name) != kind_.files.end();
}

bool OutputFolder::Exists(const std::string& name) const
{
    std::error_code error;
    return fs::exists(fs::symlink_status(folder_ / name, error));
}

void OutputFolder::Remove(const std::string& name)
{
    if (!list_.contains(name)) return;
    if (unlink((folder_ / name).c_str()) != 0 && errno != ENOENT)
        Fail(fmt::format("{} cannot be removed: {}", name, base::SystemText(errno)));
}

void OutputFolder::RemoveAll()
{
    for (const auto& name : kind_.files) Remove(name);
    for (const auto& name : kind_.files) list_.erase(name);
    Rewrite();
}

int OutputFolder::Claim(const std::string& name)
{
    if (!IsKnown(name)) throw std::logic_error(name + " is not among the files of its folder");
    if (list_.contains(name)) return 0;
    const int error = Append(name);
    if (error == 0) list_.insert(name);
    return error;
}

int OutputFolder::TryWrite(const std::string& name, std::string_view bytes, bool synced)
{
    if (const int error = Claim(name)) return error;
    const std::string part = alone_ ? ".amisim.part" : fmt::format(".amisim.{}.part", getpid());
    return ReplaceFile(folder_ / name, bytes, folder_ / part, synced);
}

void OutputFolder::Write(const std::string& name, std::string_view bytes, bool synced)
{
    if (const int error = TryWrite(name, bytes, synced))
        Fail(fmt::format("{} cannot be written: {}", name, base::SystemText(error)));
}

int OutputFolder::MakeRoomAndWrite(const std::string& name,
                                   const std::function<std::string()>& bytes, bool synced)
{
    while (true) {
        const std::string text = bytes();
        const int error = TryWrite(name, text, synced);
        const bool full = error == ENOSPC || error == EDQUOT;
        if (!full || !GiveWayTo(name, text.size())) return error;
    }
}

void OutputFolder::Put(const std::string& name, std::string_view bytes, bool synced)
{
    const auto given = [&] { return std::string(bytes); };
    if (const int error = MakeRoomAndWrite(name, given, synced)) Drop(name, error);
}

void OutputFolder::Update(const std::string& name, const std::function<std::string()>& bytes,
                          bool synced)
{
    MakeRoomAndWrite(name, bytes, synced);
}

bool OutputFolder::GiveWayTo(const std::string& name, std::size_t size)
{
    struct statvfs disk
    {
    };
    if (statvfs(folder_.c_str(), &disk) != 0) return false;
    std::uintmax_t room = disk.f_bavail * disk.f_frsize;
    const std::string* least = nullptr;
    for (auto file = kind_.files.rbegin(); file != kind_.files.rend() && *file != name; ++file) {
        std::error_code error;
        const auto its = fs::file_size(folder_ / *file, error);
        if (error || its == 0 || !list_.contains(*file)) continue;
        room += its;
        if (!least) least = &*file;
    }
    if (!least || room < size) return false;  // it would not fit even so
    Drop(*least, ENOSPC);
    return true;
}

void OutputFolder::Drop(const std::string& name, int error)
{
    if (list_.contains(name)) unlink((folder_ / name).c_str());
    dropped_.emplace_back(name, error);
}

std::string OutputFolder::Dropped() const
{
    std::string text;
    for (auto entry = dropped_.begin(); entry != dropped_.end(); ++entry) {
        const auto next = std::next(entry);
        const bool same = next != dropped_.end() && next->second == entry->second;
        text += entry->first;
        text += same ? ", " : fmt::format(": {}", base::SystemText(entry->second));
        if (!same && next != dropped_.end()) text += "; ";
    }
    return text;
}

std::vector<std::string> OutputFolder::Files() const
{
    std::vector<std::string> files;
    for (const auto& name : kind_.files) {
        if (list_.contains(name) && Exists(name)) files.push_back(name);
    }
    return files;
}

}  // namespace amisim
