#include <fmt/format.h>

#include <algorithm>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/findings/RuleTable.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/LineReader.hpp"
#include "ibis/reader/NumberCheck.hpp"
#include "ibis/reader/SyntaxRules.hpp"

/// Sub-parameters.
namespace ibis {

/// The words of "name = value", "name=value" and "name value" alike; true if there was a =.
bool LineReader::SplitAtEquals(const std::vector<Word>& line, std::vector<Word>& words)
{
    bool equals = false;
    for (const Word& word : line) {
        const size_t at =
            equals || words.size() > 1 ? std::string_view::npos : word.Text().find('=');
        if (at == std::string_view::npos) {
            words.push_back(word);
            continue;
        }
        equals = true;
        const auto column = static_cast<size_t>(word.Place().column);
        if (at > 0) {
            words.emplace_back(word.Text().substr(0, at), word.Line(), column);
        }
        if (at + 1 < word.Text().size()) {
            words.emplace_back(word.Text().substr(at + 1), word.Line(), column + at + 1);
        }
    }
    return equals;
}

const SubParameter* LineReader::FindSetting(const Word& name)
{
    const auto settings = Top().keyword->settings;
    const std::string_view text = name.Text().substr(0, name.Text().find('='));
    for (const SubParameter& known : settings) {
        if (known.name == text) {
            return &known;
        }
    }
    const std::string lower = Lowercase(text);
    for (const SubParameter& known : settings) {
        if (Lowercase(known.name) == lower) {
            return &known;
        }
    }
    return nullptr;
}

void LineReader::ReadSetting(const std::vector<Word>& line)
{
    Section& section = Top();
    const SubParameter* const known = FindSetting(line[0]);
    if (!known) {
        std::vector<std::string> names;
        for (const SubParameter& one : section.keyword->settings) {
            names.emplace_back(one.name);
        }
        const std::string_view name = line[0].Text().substr(0, 60);
        const std::string nearest = NearestName(name.substr(0, name.find('=')), names);
        findings_.Count(
            syntax::kKnownWord, fmt::format("{}/{}", section.place.line, name), line[0].Place(),
            fmt::format("'{}' is no sub-parameter of [{}]", name, section.keyword->name),
            nearest.empty() ? fmt::format("the sub-parameters are {}", Joined(names, ", "))
                            : fmt::format("did you mean {}?", nearest));
        return;
    }
    Setting setting{known, {}};
    const bool equals = SplitAtEquals(line, setting.words);
    if (known->form != Form::Either && equals != (known->form == Form::Equals)) {
        findings_.Count(syntax::kEquals, known->name, line[0].Place(),
                        fmt::format("{} of [{}] stands {} =", known->name, section.keyword->name,
                                    equals ? "with" : "without"),
                        fmt::format("write {}{}VALUE", known->name,
                                    known->form == Form::Equals ? " = " : "  "));
    }
    CheckSetting(setting);
    if (const Setting* const first = known->many ? nullptr : section.Find(known->name)) {
        findings_.Add(syntax::kTwice, setting.Place(),
                      fmt::format("{} is stated again; the first is in line {}", known->name,
                                  first->Place().line),
                      "remove one of the two");
        return;
    }
    section.settings.push_back(std::move(setting));
}

void LineReader::CheckSetting(const Setting& setting)
{
    const SubParameter& known = *setting.known;
    const Keyword& keyword = *Top().keyword;
    const std::string of = fmt::format("{} of [{}]", known.name, keyword.name);
    const std::string key = fmt::format("{}/{}", Top().place.line, known.name);
    if (setting.words[0].Text() != known.name) {
        findings_.Count(
            syntax::kCase, known.name, setting.Place(),
            fmt::format("'{}' is spelled {} in the standard", setting.words[0].Text(), known.name),
            fmt::format("write {}", known.name));
    }
    NoteVersion(known.versions, syntax::kWordVersion, setting.Place(), of);
    const auto values = setting.Values();
    const bool fits =
        values.size() >= known.least && (values.size() <= known.most || known.most == 255);
    if (!fits) {
        // One word behind an Executable line's names is a name with a blank in it: for its own
        // rule.
        findings_.Add(keyword.key == Key::AlgorithmicModel ? RuleOf(801) : syntax::kColumns,
                      setting.Place(),
                      fmt::format("{} has {} value{}, expected {}", of, values.size(),
                                  values.size() == 1 ? "" : "s", int{known.least}),
                      {});
    } else if (known.HasCorners() && values.size() < 3) {
        findings_.Count(
            known.name.starts_with("C_comp") ? RuleOf(317) : syntax::kColumns, Severity::Warning,
            key, setting.Place(),
            fmt::format("{} has {} of the three values typ, min and max", of, values.size()),
            "write NA for what is not available");
    }
    if (!known.numeric) {
        return;
    }
    for (size_t i = 0; i < std::min<size_t>(values.size(), known.most); ++i) {
        const Number number = ParseNumber(values[i].Text());
        if (!IsPlain(number, known.quantity) || number.scale == 'M' || number.scale == 'm') {
            CheckNumber(number, values[i], {known.quantity, of, key}, findings_);
        }
        const bool ownNa = known.name.ends_with("_min") || known.name.ends_with("_max");
        if (i == 0 && number.kind == Number::Kind::NotAvailable && keyword.key == Key::Model &&
            !ownNa) {
            findings_.Add(syntax::kNoNa, values[0].Place(),
                          fmt::format("{} is NA as its typical value", of),
                          "write the typical value");
        }
    }
}

}  // namespace ibis
