#pragma once

#include <string_view>
#include <vector>

#include "ibis/findings/Findings.hpp"
#include "ibis/records/Section.hpp"

namespace ibis {

/// Goes through a text line by line, cuts comments off, and looks at bytes and line lengths on its
/// way.
class Lines
{
public:
    explicit Lines(std::string_view text);

    /// The next line, or false at the end.
    bool Next();

    /// The line as it stands, without its line end.
    std::string_view Whole() const { return whole_; }
    /// The line without comment and without blanks around it.
    std::string_view Text() const { return text_; }
    int Number() const { return number_; }

    /// Where a part of the line stands.
    ibis::Place PlaceOf(std::string_view part) const
    {
        return {number_, static_cast<int>(part.data() - whole_.data()) + 1};
    }
    ibis::Place Place() const { return PlaceOf(text_); }

    /// The words of a part of the line; valid until the next call.
    const std::vector<Word>& Words(std::string_view part);

    void SetComment(char character) { comment_ = character; }
    char Comment() const { return comment_; }

    /// The last line had no line end.
    bool CutOff() const { return cutOff_; }

    /// What was seen of bytes and lines, for a file of this version.
    void Report(Version version, Findings& findings) const;

private:
    /// First place and count of something that is told once for the whole file.
    struct Tally
    {
        ibis::Place place;
        int count = 0;
        void Add(ibis::Place at)
        {
            if (count++ == 0) place = at;
        }
    };
    struct LongLines : Tally
    {
        size_t longest = 0;
    };
    std::string_view Cut();
    void Look();
    void LookAtOtherBytes();

    std::string_view rest_;
    std::string_view whole_, text_;
    int number_ = 0;
    char comment_ = '|';
    bool cutOff_ = false;
    std::vector<Word> words_;

    Tally tabs_, controls_, carriageReturns_, lineFeeds_, loneReturns_, commentInWord_;
    LongLines over80_, over120_;
    struct OtherByte : Tally
    {
        std::string_view bytes;
    };
    std::vector<OtherByte> others_;  ///< by what they are
};

}  // namespace ibis
