#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ibis/findings/Findings.hpp"
#include "ibis/reader/Lines.hpp"
#include "ibis/reader/SectionReader.hpp"

namespace ibis {

/// Goes through the lines of a file and keeps the sections that are open.
class LineReader
{
public:
    LineReader(const std::string& text, Findings& findings);

    void Run(Document& document);

private:
    Section& Top() { return stack_.back(); }

    void ReadKeyword();
    bool TakeBracket(std::string_view& name, std::string_view& argument);
    void CheckSpelling(std::string_view name);
    void ReadCommentChar();
    void Unknown(std::string_view name, const std::string& normalised);
    void Open(const Keyword& keyword, std::string_view argument);
    void CloseTo(size_t depth);
    void Pop();
    void ReadArgument(Section& section, std::string_view argument);
    void ReadCorners(Section& section);
    void ReadVersion(const Section& section);

    void ReadData();
    void NoData();
    void ReadRow(const std::vector<Word>& words);
    void ReadCurveRow(const std::vector<Word>& words);
    void ReadMatrixRow(const std::vector<Word>& words);
    void ReadSetting(const std::vector<Word>& line);
    bool SplitAtEquals(const std::vector<Word>& line, std::vector<Word>& words);
    const SubParameter* FindSetting(const Word& name);
    void CheckSetting(const Setting& setting);
    void Finish(Document& document);

    void NoteVersion(const Versions& versions, const Rule& rule, Place place,
                     std::string_view what);

    Lines lines_;
    Findings& findings_;
    std::vector<Section> stack_;  ///< the file, and what is open in it
    std::vector<bool> lost_{
        false};                 ///< of each: nothing will keep it, it stands in the wrong place
    std::string curveKeys_[4];  ///< of the table being read, for what is told once a column
    Version version_ = 0;
    bool sawKeyword_ = false;
    bool ended_ = false;
    bool skipping_ = false;  ///< below an unknown keyword
};

}  // namespace ibis
