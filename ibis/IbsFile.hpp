#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "ibis/FileError.hpp"

namespace ibis {

/// One Executable line of an [Algorithmic Model] section (IBIS 7.2 section 10.1).
struct Executable
{
    enum class Direction {
        Either,  ///< Executable
        Rx,      ///< Executable_Rx
        Tx       ///< Executable_Tx
    };
    Direction direction = Direction::Either;
    std::string platform;           ///< as in the file: "Linux_gcc12.2_64"
    std::filesystem::path library;  ///< the file's folder joined with the name in the line
    std::filesystem::path ami;      ///< likewise
    int line = 0;

    /// True for 64-bit Linux, whatever the compiler.
    bool IsForThisPlatform() const;
};

/// A [Model] with an [Algorithmic Model] section.
struct AlgorithmicModel
{
    std::string name;                     ///< of the [Model]
    std::string modelType;                ///< Model_type: "Input", "Output", "I/O", ...
    std::vector<std::string> components;  ///< [Component]s with a pin that uses it, maybe through a
                                          ///< [Model Selector]
    std::vector<Executable> executables;  ///< in file order
    int line = 0;                         ///< of the [Model] keyword

    /// The first line for this platform, receivers before transmitters; null if there is none.
    const Executable* ForThisPlatform() const;
};

struct IbsFile
{
    std::filesystem::path path;
    std::vector<std::string> components;
    std::vector<AlgorithmicModel> models;  ///< only those with an [Algorithmic Model]

    /// The model of this name, or with an empty name the only one that runs here. Throws FileError
    /// that lists the models where that does not single out one.
    const AlgorithmicModel& Choose(std::string_view name) const;
};

/// Reads components, pins, model selectors and algorithmic models; all else is passed over. Throws
/// FileError on an unreadable file and on malformed lines within [Algorithmic Model].
IbsFile ReadIbsFile(const std::filesystem::path& path);
IbsFile ParseIbsText(std::string_view text, const std::filesystem::path& path);

}  // namespace ibis
