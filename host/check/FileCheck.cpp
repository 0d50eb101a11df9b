#include "host/check/FileCheck.hpp"

#include <map>
#include <set>
#include <utility>

#include "base/Error.hpp"
#include "base/TextFile.hpp"
#include "ibis/ElfFile.hpp"
#include "ibis/ami/CheckAmi.hpp"
#include "ibis/findings/Findings.hpp"
#include "ibis/findings/RuleTable.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/SyntaxRules.hpp"
#include "ibis/records/Companions.hpp"
#include "ibis/records/Executables.hpp"
#include "ibis/rules/CheckFile.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using ibis::Findings;

/// The models of pins that [Repeater Pin] names.
std::set<std::string_view> RepeaterModels(const ibis::IbisFile& file)
{
    std::set<std::string_view> models;
    for (const ibis::Component& component : file.components) {
        const ibis::Section* const section = component.section->Child(ibis::Key::RepeaterPin);
        for (std::size_t i = 0; section && i < section->rows.size(); ++i) {
            for (const ibis::Word& word : section->rows[i]) {
                const ibis::Pin* const pin = component.FindPin(word.Text());
                if (!pin) continue;
                models.insert(pin->model.Text());
                const ibis::ModelSelector* const selector = file.FindSelector(pin->model.Text());
                for (std::size_t row = 0; selector && row < selector->section->rows.size(); ++row)
                    models.insert(selector->section->rows[row][0].Text());
            }
        }
    }
    return models;
}

ibis::AmiDirection DirectionOf(const ibis::Model& model)
{
    const ibis::TypeTraits& type = model.Traits();
    return type.receives && type.drives ? ibis::AmiDirection::Both
           : type.receives              ? ibis::AmiDirection::Rx
           : type.drives                ? ibis::AmiDirection::Tx
                                        : ibis::AmiDirection::Unknown;
}

class Checker
{
public:
    CheckedFiles checked;
    bool keep = false;

    /// A file that the user named. What it is shows in its name; a stranger is taken for an IBIS
    /// file.
    void CheckNamed(const fs::path& path)
    {
        const std::string kind = Lowercase(path.extension().string());
        if (kind == ".ami") {
            CheckAmiFile(path, {});
        } else if (kind == ".dll" || path.filename().string().find(".so") != std::string::npos) {
            CheckLibraryFile(path);
        } else {
            CheckIbis(path);
        }
    }

private:
    /// False for a file that has been checked already.
    bool IsNew(const fs::path& path)
    {
        std::error_code error;
        const fs::path whole = fs::weakly_canonical(path, error);
        return seen_.insert(error ? path : whole).second;
    }

    /// Tries a file and keeps what is found, also where it cannot be read at all.
    template <class Function>
    void Try(const fs::path& path, Function check)
    {
        if (!IsNew(path)) return;
        Findings findings(path.string());
        try {
            check(findings);
        } catch (const Error& error) {
            // The line that an error prints names the file, as the finding does.
            std::string text = error.what();
            if (const std::string name = path.string() + ": "; text.starts_with(name))
                text.erase(0, name.size());
            findings.Add(ibis::syntax::kReadable, {}, text);
            checked.unreadable = true;
        }
        auto found = findings.Take();
        checked.findings.insert(checked.findings.end(), std::make_move_iterator(found.begin()),
                                std::make_move_iterator(found.end()));
    }

    void CheckIbis(const fs::path& path)
    {
        Try(path, [&](Findings& findings) {
            ibis::IbisFile file = ibis::ReadIbisFile(path, findings);
            ibis::CheckFile(file, findings);
            NoteContexts(file);
            for (const ibis::Companion& companion : ibis::CompanionsOf(file)) {
                if (companion.path) companions_.push_back(companion);
            }
            if (keep) checked.files.push_back(std::move(file));
        });
        const auto companions = std::exchange(companions_, {});
        for (const ibis::Companion& companion : companions) CheckCompanion(companion);
    }

    /// What an .ami file is held against is told by the models that name it.
    void NoteContexts(const ibis::IbisFile& file)
    {
        const std::set<std::string_view> repeaters = RepeaterModels(file);
        for (const ibis::Model& model : file.models) {
            ibis::AmiContext context{file.GetVersion(), DirectionOf(model), {}, {}};
            if (!file.components.empty()) context.repeater = repeaters.contains(model.name);
            for (const ibis::ExecutableLine& line : ibis::ExecutablesOf(model)) {
                if (const auto ami = file.Beside(line.ami.Text()))
                    contexts_.try_emplace(fs::weakly_canonical(*ami), context);
            }
        }
    }

    void CheckCompanion(const ibis::Companion& companion)
    {
        using Kind = ibis::Companion::Kind;
        switch (companion.kind) {
            case Kind::PackageModel:
            case Kind::Interconnect:
            case Kind::Part:
                CheckIbis(*companion.path);
                break;
            case Kind::Ami: {
                const auto context = contexts_.find(fs::weakly_canonical(*companion.path));
                CheckAmiFile(*companion.path,
                             context == contexts_.end() ? ibis::AmiContext{} : context->second);
                break;
            }
            case Kind::Library:  // the line that names it has been held against it
            case Kind::Circuit:
            case Kind::Touchstone:
                break;
        }
    }

    void CheckAmiFile(const fs::path& path, ibis::AmiContext context)
    {
        Try(path, [&](Findings& findings) {
            const ibis::AmiFile file = ibis::ReadAmiFile(path, findings);
            context.folder = path.parent_path().empty() ? fs::path(".") : path.parent_path();
            ibis::CheckAmi(file, context, findings);
        });
    }

    void CheckLibraryFile(const fs::path& path)
    {
        Try(path, [&](Findings& findings) {
            const ibis::ElfFile library = ibis::ReadElfFile(path);
            const ibis::Rule& rule = ibis::RuleOf(805);
            if (library.kind == ibis::ElfFile::Kind::Other) {
                findings.Add(rule, {}, "the file is no library of Linux or Windows");
            } else if (library.kind == ibis::ElfFile::Kind::Elf && !library.Exports("AMI_Init")) {
                findings.Add(rule, {},
                             fmt::format("a {} that exports no AMI_Init", library.Description()),
                             "export the function with C linkage");
            }
        });
    }

    std::set<fs::path> seen_;
    std::map<fs::path, ibis::AmiContext> contexts_;
    std::vector<ibis::Companion> companions_;
};

}  // namespace

CheckedFiles CheckFilesAndCompanions(const std::vector<fs::path>& files, bool keep)
{
    Checker checker;
    checker.keep = keep;
    for (const fs::path& file : files) checker.CheckNamed(file);
    return std::move(checker.checked);
}

}  // namespace amisim
