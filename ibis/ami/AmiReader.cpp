#include "ibis/ami/AmiReader.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "base/NearestName.hpp"
#include "ibis/ami/ParameterReader.hpp"
#include "ibis/ami/ReaderRules.hpp"

namespace ibis {
namespace {

constexpr std::array<std::string_view, 2> kParts{"Reserved_Parameters", "Model_Specific"};

bool HoldsParameters(const AmiNode& node)
{
    return IsParameter(node) ||
           std::any_of(node.children.begin(), node.children.end(), HoldsParameters);
}

class Interpreter
{
public:
    explicit Interpreter(Findings& findings) : findings_(findings) {}

    AmiFile Run(const AmiTree& tree)
    {
        const AmiNode& root = tree.root;
        file_.rootName = root.name;
        file_.fault = tree.fault;
        CheckName(root);
        if (IsParameterString(root)) {
            ReportParameterString(root.children.front());
            return std::move(file_);
        }
        for (const AmiNode& child : root.children) {
            ReadPart(child);
        }
        return std::move(file_);
    }

private:
    void ReportParameterString(const AmiNode& leaf)
    {
        const std::string text = fmt::format(
            "'({} ...)' is a value without Usage and Type: this is a parameter string, not the "
            "definition of parameters",
            leaf.name);
        findings_.Add(rules::kDefinitions, leaf.place, text,
                      "name the .ami that came with the model");
        file_.isParameterString = true;
        if (!file_.fault) {
            file_.fault = Fault{leaf.place, text};
        }
    }

    void ReadPart(const AmiNode& node)
    {
        if (node.name == "Description" && !IsParameter(node)) {
            file_.description = ReadDescription(node, findings_);
            return;
        }
        if (const std::string_view part = PartOf(node); !part.empty()) {
            CheckOrder(node, part);
            ReadBranch(node, part == kParts[0]);
            return;
        }
        if (!HoldsParameters(node) && !node.words.empty()) {
            findings_.Add(rules::kDefinitions, node.place,
                          fmt::format("'({} ...)' is a value of a parameter string: expected "
                                      "Reserved_Parameters, Model_Specific or Description",
                                      node.name));
            return;
        }
        findings_.Add(rules::kPartsOfRoot, node.place,
                      fmt::format("expected Reserved_Parameters, Model_Specific or Description, "
                                  "found '{}'",
                                  node.name),
                      "move it into Model_Specific");
        reserved_ = false;
        ReadChild(node, names_[1]);
    }

    /// Which of the two parts the list is or was to be; "" for none.
    std::string_view PartOf(const AmiNode& node)
    {
        if (IsParameter(node)) {
            return "";
        }
        for (const std::string_view part : kParts) {
            const bool isPart = node.name == part;
            if (isPart || !DidYouMean(node.name, {&part, 1}).empty()) {
                if (!isPart) {
                    findings_.Add(rules::kPartsOfRoot, node.place,
                                  fmt::format("'{}' is read as {}", node.name, part),
                                  fmt::format("write {}", part));
                }
                return part;
            }
        }
        return "";
    }

    void CheckOrder(const AmiNode& node, std::string_view part)
    {
        Place& place = part == kParts[0] ? file_.reserved : specific_;
        if (place) {
            findings_.Add(rules::kPartsOfRoot, node.place,
                          fmt::format("a second {}; the first is in line {}", part, place.line));
            return;
        }
        place = node.place;
        if (part == kParts[0] && specific_) {
            findings_.Add(rules::kPartsOfRoot, Severity::Warning, node.place,
                          fmt::format("{} should come before {}", part, kParts[1]));
        }
    }

    void ReadBranch(const AmiNode& branch, bool reserved)
    {
        reserved_ = reserved;
        ReadChildren(branch, names_[reserved ? 0 : 1]);
    }

    void ReadChildren(const AmiNode& branch, std::set<std::string>& names)
    {
        if (!branch.words.empty()) {
            findings_.Add(rules::kBranchOrParameter, branch.words.front().place,
                          fmt::format("expected parameters in '{}', found '{}'", branch.name,
                                      branch.words.front().text));
        }
        for (const AmiNode& child : branch.children) {
            ReadChild(child, names);
        }
    }

    /// @param names  those of the siblings before
    void ReadChild(const AmiNode& child, std::set<std::string>& names)
    {
        if (child.name.empty()) {
            return;  // the tree's reader has said so
        }
        CheckName(child);
        if (std::find(kParts.begin(), kParts.end(), child.name) != kParts.end()) {
            ReadStrayPart(child);
            return;
        }
        const bool isParameter = IsParameter(child);
        if (!names.insert(child.name).second) {
            findings_.Add(rules::kSiblingsDiffer, child.place,
                          fmt::format("a second {} '{}'; the first counts",
                                      isParameter ? "parameter" : "list", PathOf(child.name)));
            if (isParameter) {
                return;
            }
        }
        if (isParameter) {
            ReadDefinition(child, names);
        } else if (child.name == "Description") {
            ReadDescription(child, findings_);
        } else if (!HoldsParameters(child)) {
            ReportStrayValue(child);
        } else {
            std::set<std::string> inner;
            groups_.push_back(child.name);
            ReadChildren(child, inner);
            groups_.pop_back();
        }
    }

    /// Reserved_Parameters or Model_Specific within a branch or a parameter.
    void ReadStrayPart(const AmiNode& node)
    {
        findings_.Add(rules::kPartsOfRoot, node.place,
                      fmt::format("expected {} directly below the root", node.name),
                      "a ')' is missing before it, or one is too many");
        CheckOrder(node, node.name);
        const auto groups = std::exchange(groups_, {});
        const bool reserved = reserved_;
        ReadBranch(node, node.name == kParts[0]);
        reserved_ = reserved;
        groups_ = groups;
    }

    void ReadDefinition(const AmiNode& node, std::set<std::string>& names)
    {
        AmiParameter parameter;
        parameter.groups = groups_;
        parameter.name = node.name;
        parameter.reserved = reserved_;
        parameter.place = node.place;
        ReadParameter(node, parameter, findings_);
        file_.parameters.push_back(std::move(parameter));

        bool told = false;
        for (const AmiNode& child : node.children) {
            if (!HoldsParameters(child)) {
                continue;
            }
            if (!std::exchange(told, true)) {
                findings_.Add(rules::kBranchOrParameter, child.place,
                              fmt::format("parameter '{}' of line {} holds the list '{}'",
                                          PathOf(node.name), node.place.line, child.name),
                              "a ')' is missing before it, or one is too many");
            }
            ReadChild(child, names);  // as if it stood beside
        }
    }

    /// Neither a parameter nor a branch of some: (zero_ghz (Value 5)), (Mode 1) or ().
    void ReportStrayValue(const AmiNode& node)
    {
        const bool isEmpty = node.words.empty() && node.children.empty();
        const bool isValue =
            !node.words.empty() ||
            std::any_of(node.children.begin(), node.children.end(), [](const AmiNode& child) {
                return IsFormatName(child.name) || child.name == "Default" ||
                       child.name == "Format";
            });
        if (isEmpty || !isValue) {
            findings_.Add(rules::kBranchOrParameter, Severity::Note, node.place,
                          fmt::format("'{}' holds no parameters", PathOf(node.name)));
        } else {
            findings_.Add(rules::kBranchOrParameter, node.place,
                          fmt::format("'{}' states a value without Usage and Type: it is not used",
                                      PathOf(node.name)));
        }
    }

    void CheckName(const AmiNode& node)
    {
        const auto isPlain = [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                   c == '_' || c == '-' || c == '.';
        };
        if (node.quoted || !std::all_of(node.name.begin(), node.name.end(), isPlain)) {
            findings_.Add(rules::kPlainName, node.place,
                          fmt::format("expected a name of letters, digits, '_', '-' and '.', found "
                                      "{0}{1}{0}",
                                      node.quoted ? '"' : '\'', node.name));
        }
    }

    std::string PathOf(const std::string& name) const
    {
        std::string path;
        for (const std::string& group : groups_) {
            path += group + '.';
        }
        return path + name;
    }

    Findings& findings_;
    AmiFile file_;
    Place specific_;
    bool reserved_ = false;
    std::vector<std::string> groups_;
    std::array<std::set<std::string>, 2> names_;  ///< in Reserved_Parameters and Model_Specific
};

}  // namespace

bool IsParameterString(const AmiNode& root)
{
    const bool hasParts =
        std::any_of(root.children.begin(), root.children.end(), [](const AmiNode& child) {
            return child.words.empty() && !DidYouMean(child.name, kParts).empty();
        });
    return !hasParts && !HoldsParameters(root) &&
           std::any_of(root.children.begin(), root.children.end(),
                       [](const AmiNode& child) { return child.name != "Description"; });
}

AmiFile InterpretAmiTree(const AmiTree& tree, Findings& findings)
{
    return Interpreter(findings).Run(tree);
}

}  // namespace ibis
