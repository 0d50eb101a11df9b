#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace amisim {

/// A folder that amisim writes into, and in which it replaces and removes its own files only.
///
/// The folder's mark, a file called ".amisim", tells what made it ("amisim run") and then, line by
/// line, names the files that were written, each put down before the file itself. What bears the
/// name of such a file and is not on the list is somebody else's: it is in the way. Other files are
/// nobody's concern. The mark also is the lock that keeps two processes from working in one folder.
/// Once a process has the folder to itself, what appears in it under such a name (a model may write
/// what it likes) is taken for its own.
class OutputFolder
{
public:
    /// What works in the folder, and the names of all files that it may write, the most important
    /// first.
    struct Kind
    {
        std::string_view name;
        std::vector<std::string> files;
    };
    enum class Use { kAlone, kBesideOthers, kWithoutLock };

    /// Makes the folder if need be, and locks it. Nothing has been changed when it throws.
    /// @param inputs  files that are read and so must be none of those to be written
    /// @throws Error (kInput) in one line when the folder cannot be used as it is
    OutputFolder(std::filesystem::path folder, const Kind& kind, Use use,
                 const std::vector<std::filesystem::path>& inputs);
    /// The list keeps what is there; of a folder that nothing was written into nothing is left.
    ~OutputFolder();
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    const std::filesystem::path& Path() const { return folder_; }

    /// Removes the file if it is on the list. @throws Error (kInput) when that cannot be done
    void Remove(const std::string& name);
    /// The same for all of this kind.
    void RemoveAll();

    /// Puts a file of this kind on the list, before it is written.
    /// @return 0, or what the system said
    int Claim(const std::string& name);

    /// Writes a file whole or not at all.
    /// @param synced  it has reached the disk on return
    /// @throws Error (kInput) when it cannot be written
    void Write(const std::string& name, std::string_view bytes, bool synced = false);

    /// The same, but without an error: where there is no room, less important files give way, the
    /// least important first, if that makes enough of it. What is not written is among Dropped().
    void Put(const std::string& name, std::string_view bytes, bool synced = false);

    /// The same for a newer version of a file: where that cannot be written, the older one stays.
    /// @param bytes  asked for anew whenever a file has given way, which it may list
    void Update(const std::string& name, const std::function<std::string()>& bytes,
                bool synced = false);

    /// Removes a file that could not be written to its end.
    /// @param error  what the system said
    void Drop(const std::string& name, int error);

    /// "wave.npy, eye.png: No space left on device", "" when everything was written.
    std::string Dropped() const;

    /// The files of this kind that are there, the most important first.
    std::vector<std::string> Files() const;

private:
    /// An open mark, or a closed one.
    struct Mark
    {
        int file = -1;
        ~Mark();
    };
    [[noreturn]] void Fail(const std::string& what) const;
    void CheckInputs(const std::vector<std::filesystem::path>& inputs) const;
    void CheckNames() const;
    void Make();
    void Lock(Use use);
    std::string ReadMark();
    void CheckMark();
    int Append(const std::string& line) const;
    void Rewrite();
    bool IsKnown(const std::string& name) const;
    bool Exists(const std::string& name) const;
    bool GiveWayTo(const std::string& name, std::size_t size);
    int TryWrite(const std::string& name, std::string_view bytes, bool synced);
    int MakeRoomAndWrite(const std::string& name, const std::function<std::string()>& bytes,
                         bool synced);

    std::filesystem::path folder_;
    const Kind& kind_;
    bool alone_;
    Mark mark_;
    std::set<std::string> list_;
    std::vector<std::filesystem::path> made_;  // folders, the innermost first
    std::vector<std::pair<std::string, int>> dropped_;
};

}  // namespace amisim
