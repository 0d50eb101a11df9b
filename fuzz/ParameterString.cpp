// Any text as a parameter string: the same tree, the same code and the same answers to look-ups as
// the slow parser has.

#include <algorithm>
#include <cmath>
#include <string_view>

#include "ami/AmiParamParser.hpp"
#include "fuzz/Fuzz.hpp"
#include "fuzz/SlowParser.hpp"

namespace {

/// A run of blanks so long would rightly end the process.
bool HasLongBlank(std::string_view text)
{
    size_t run = 0;
    for (const char c : text) {
        run = std::string_view(" \t\n\v\f\r").find(c) != text.npos ? run + 1 : 0;
        if (run > 120) return true;
    }
    return false;
}

void Compare(const NODE_STRUCT& node, const slow::Node& expected)
{
    Require(node.record && node.level == expected.Level, "level");
    Require((node.enumNodeType == NODE_TYPE_BRANCH) == expected.IsBranch, "type of node");
    if (expected.IsBranch) {
        const BRANCH_STRUCT& branch = *BranchOf(node);
        Require(branch.name == expected.Name, "name of branch");
        Require(branch.numberOfChildren == static_cast<int>(expected.Children.size()), "children");
        for (size_t i = 0; i < expected.Children.size(); ++i)
            Compare(branch.children[i], expected.Children[i]);
        return;
    }
    const LEAF_STRUCT& leaf = *LeafOf(node);
    Require(leaf.name == expected.Name, "name of leaf");
    Require(leaf.numberOfValues == static_cast<int>(expected.Values.size()), "values");
    for (size_t i = 0; i < expected.Values.size(); ++i) {
        const slow::Value& value = expected.Values[i];
        Require(leaf.values[i].text == value.Text, "text of value");
        Require(leaf.values[i].valueType == value.Type, "type of value");
        const int last = value.Last ? -1 : 0;
        Require(value.Type == VALUE_TYPE_STRING || leaf.values[i].stringType == last, "subtype");
    }
}

void LookUp(const Vantor::AMI::ParamParser& parser, const slow::Paths& leaves,
            const std::string& path)
{
    const slow::Value* value = nullptr;
    const auto leaf = std::find_if(leaves.begin(), leaves.end(),
                                   [&](const auto& candidate) { return candidate.first == path; });
    if (leaf != leaves.end() && !leaf->second->Values.empty()) value = &leaf->second->Values[0];
    const bool number = value && (value->Type == 1 || value->Type == 3);
    const double expected = number ? std::strtod(value->Text.c_str(), nullptr) : 12.5;
    double found = 12.5;
    Require(parser.GetValue(found, path.c_str()) == number, "a number is there");
    Require(std::isnan(expected) || found == expected, "the number");
    int whole = 12;
    Require(parser.GetValue(whole, path.c_str()) == number, "a whole number is there");
    const bool fits = std::abs(std::trunc(expected)) <= 2147483647.0;
    if (number && fits) Require(whole == std::trunc(expected), "the whole number");
    bool truth = false;
    Require(parser.GetValue(truth, path.c_str()) == (value && value->Type == 2), "a boolean");
    Require(truth == (value && value->Text == "True"), "the boolean");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    text = text.c_str();
    if (HasLongBlank(text)) return 0;

    const slow::Tree expected = slow::Parse(text);
    TREE_STRUCT* tree = nullptr;
    Require(GetParsedTree(text.c_str(), &tree) == expected.Code, "code");
    Require((tree != nullptr) == (expected.Code == 0), "a tree");
    if (tree && !expected.Roots.empty()) Compare(tree->nodes[0], expected.Roots[0]);
    if (tree && expected.Roots.empty()) Require(!tree->nodes[0].record, "no node");
    FreeParsedTree(&tree);

    const Vantor::AMI::ParamParser parser(text.c_str());
    const slow::Paths leaves = expected.Leaves();
    for (const char* path : {"Retimer_RX_RT.RX_Config", "Retimer_RX_RT.EOMNbits", "a.b"})
        LookUp(parser, leaves, path);
    for (const auto& leaf : leaves) LookUp(parser, leaves, leaf.first);
    return 0;
}
