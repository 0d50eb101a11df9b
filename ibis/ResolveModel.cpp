#include "ibis/ResolveModel.hpp"

#include "ibis/IbsFile.hpp"
#include "ibis/TextFile.hpp"

namespace ibis {
namespace {

namespace fs = std::filesystem;

/// A name that cannot even be looked up is as good as missing.
bool Exists(const fs::path& file)
{
    std::error_code error;
    return fs::exists(file, error);
}

fs::path Beside(const fs::path& file, const std::string& name)
{
    return file.parent_path() / name;
}

const Executable& ExecutableIn(const AlgorithmicModel& model, const fs::path& ibs)
{
    const Executable* executable = model.ForThisPlatform();
    if (!executable) {
        std::vector<std::string> platforms;
        for (const Executable& one : model.executables) {
            platforms.push_back(one.platform);
        }
        throw FileError(
            ibs, model.line,
            fmt::format("model '{}' has no Executable line for 64-bit Linux, only for {}",
                        model.name, Joined(platforms, ", ")));
    }
    return *executable;
}

/// A file that another one names must be there; the message leads back to the line that names it.
void RequireNamed(const fs::path& file, const fs::path& ibs, int line)
{
    if (!Exists(file)) {
        throw FileError(ibs, line, fmt::format("names {}, which does not exist", file.string()));
    }
}

void RefuseModelName(const fs::path& path, std::string_view modelName)
{
    if (!modelName.empty()) {
        throw FileError(path,
                        fmt::format("a model name ('{}') goes with an .ibs file only", modelName));
    }
}

std::optional<fs::path> FindAmiOf(const fs::path& library)
{
    const std::string stem = library.stem().string();
    for (const std::string& name : {stem, stem.starts_with("lib") ? stem.substr(3) : stem}) {
        if (const fs::path ami = Beside(library, name + ".ami"); Exists(ami)) {
            return ami;
        }
    }
    return std::nullopt;
}

fs::path LibraryOf(const fs::path& ami)
{
    const std::string stem = ami.stem().string();
    for (const std::string& name : {stem + ".so", "lib" + stem + ".so"}) {
        if (Exists(Beside(ami, name))) {
            return Beside(ami, name);
        }
    }
    throw FileError(ami, fmt::format("expected the model's library {}.so beside it; name the .ibs "
                                     "or the .so instead",
                                     stem));
}

[[noreturn]] void FailKind(const fs::path& path)
{
    throw FileError(path, "expected an .ibs, .ami or .so file");
}

void RequireFile(const fs::path& path)
{
    if (!Exists(path)) {
        throw FileError(path, "does not exist");
    }
}

}  // namespace

ResolvedModel ResolveModel(const fs::path& path, std::string_view modelName)
{
    RequireFile(path);
    const std::string kind = Lowercase(path.extension().string());
    ResolvedModel resolved;
    if (kind == ".ibs") {
        const IbsFile ibs = ReadIbsFile(path);
        const AlgorithmicModel& model = ibs.Choose(modelName);
        const Executable& executable = ExecutableIn(model, path);
        RequireNamed(executable.library, path, executable.line);
        RequireNamed(executable.ami, path, executable.line);
        resolved.modelName = model.name;
        resolved.library = executable.library;
        resolved.ami = ReadAmiFile(executable.ami);
    } else if (kind == ".ami") {
        RefuseModelName(path, modelName);
        resolved.ami = ReadAmiFile(path);
        resolved.library = LibraryOf(path);
    } else if (path.filename().string().find(".so") != std::string::npos) {
        RefuseModelName(path, modelName);
        resolved.library = path;
        if (const auto ami = FindAmiOf(path)) {
            resolved.ami = ReadAmiFile(*ami);
        }
    } else {
        FailKind(path);
    }
    // A model runs in a folder of its own, and a bare name would be searched for elsewhere.
    resolved.library = fs::absolute(resolved.library);
    resolved.rootName = resolved.ami ? resolved.ami->rootName : path.stem().string();
    return resolved;
}

AmiFile ResolveAmiFile(const fs::path& path, std::string_view modelName)
{
    RequireFile(path);
    const std::string kind = Lowercase(path.extension().string());
    if (kind == ".ibs") {
        const IbsFile ibs = ReadIbsFile(path);
        const Executable& executable = ExecutableIn(ibs.Choose(modelName), path);
        RequireNamed(executable.ami, path, executable.line);
        return ReadAmiFile(executable.ami);
    }
    RefuseModelName(path, modelName);
    if (kind == ".ami") {
        return ReadAmiFile(path);
    }
    if (kind != ".so") {
        FailKind(path);
    }
    const auto ami = FindAmiOf(path);
    if (!ami) {
        throw FileError(path, fmt::format("has no {}.ami beside it", path.stem().string()));
    }
    return ReadAmiFile(*ami);
}

}  // namespace ibis
