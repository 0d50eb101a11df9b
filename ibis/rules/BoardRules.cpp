#include <algorithm>
#include <unordered_set>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/records/Board.hpp"
#include "ibis/rules/PartCheck.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Units.hpp"

/// [Begin Board Description]: pins, paths, and the parts that paths lead to.
namespace ibis {
namespace {

using enum Severity;
using Kind = PathElement::Kind;

void HasItsKeywords(const Board& board, Report& report)
{
    std::vector<std::string> missing;
    for (const Key key :
         {Key::Manufacturer, Key::NumberOfPins, Key::PinList, Key::PathDescription}) {
        if (!board.section->Child(key)) {
            missing.push_back(fmt::format("[{}]", KeywordOf(key).name));
        }
    }
    if (!missing.empty()) {
        report.Say(board.place,
                   fmt::format("board '{}' has no {}", board.name, Joined(missing, ", ")),
                   "add what is missing");
    }
}

void PinsAreCountedAndUnique(const Board& board, Report& report)
{
    const size_t pins = board.pins.size();
    if (board.pinCount && pins > 0 && board.pinCount.value != static_cast<double>(pins)) {
        report.Say(board.pinCount.place,
                   fmt::format("[Number Of Pins] of board '{}' is {}, [Pin List] has {}",
                               board.name, board.section->Child(Key::NumberOfPins)->argument, pins),
                   fmt::format("write {}, or the pins that are missing", pins));
    }
    for (size_t i = 0; i < pins; ++i) {
        const size_t first = board.pinsByName.at(board.pins[i].name.Text());
        if (first != i) {
            report.Count(
                board.name, board.pins[i].name.Place(),
                fmt::format("pin '{}' of board '{}' is listed again; the first is in line {}",
                            board.pins[i].name.Text(), board.name, board.pins[first].name.Line()),
                "name each pin once");
        }
    }
}

/// What is wrong with an element of a path, or ""; forks counts those that are open.
std::string FaultOf(const PathElement& element, const Board& board, int& forks)
{
    const std::string_view word = element.word.Text();
    switch (element.kind) {
        case Kind::Piece:
            return std::isnan(element.piece.length) ? "a section without Len"
                   : !element.piece.closed          ? "a section without / at its end"
                                                    : "";
        case Kind::Fork:
            ++forks;
            return "";
        case Kind::Endfork:
            return --forks < 0 ? "an Endfork without Fork" : "";
        case Kind::Pin:
            return word == "NC" || board.pins.empty() || board.pinsByName.contains(word)
                       ? ""
                       : fmt::format("Pin {}, which is not in [Pin List]", word);
        case Kind::Node:
            return word.find('.') != word.npos
                       ? ""
                       : fmt::format("Node {}, expected a designator and a pin such as U1.4", word);
        case Kind::NotANumber:
            return fmt::format("'{}' where a number is due", word);
        case Kind::Other:
            break;
    }
    return fmt::format("'{}', which has no meaning there", word);
}

void PathIsWellFormed(const Board& board, const BoardPath& path, Report& report)
{
    const auto say = [&](Place place, const std::string& fault) {
        report.Count(board.name, place,
                     fmt::format("path '{}' of board '{}' {}", path.name, board.name, fault),
                     "write Pin A1, then sections such as Len=1.2 L=8.0n C=3.0p/, then Node U1.4");
    };
    if (path.elements.empty()) {
        say(path.place, "is empty");
        return;
    }
    const Kind first = path.elements[0].kind;
    if (first != Kind::Pin && first != Kind::Node) {
        say(path.elements[0].word.Place(), "begins with neither Pin nor Node");
        return;
    }
    int forks = 0;
    for (const PathElement& element : path.elements) {
        const std::string fault = FaultOf(element, board, forks);
        if (!fault.empty()) {
            say(element.word.Place(), "has " + fault);
            return;
        }
    }
    if (forks > 0) {
        say(path.place, "has a Fork without Endfork");
    }
}

void PathsAreWellFormed(const Board& board, Report& report)
{
    for (const BoardPath& path : board.paths) {
        PathIsWellFormed(board, path, report);
    }
}

/// The pins that the nodes of all paths name, by the index of their part; designators that there
/// are not are reported.
std::vector<std::vector<Word>> PinsOfParts(const Board& board, Report& report)
{
    std::vector<std::vector<Word>> pins(board.parts.size());
    std::unordered_set<std::string_view> told;
    std::vector<std::string> known;
    for (const Part& part : board.parts) {
        known.push_back(part.name.String());
    }
    for (const BoardPath& path : board.paths) {
        for (const PathElement& element : path.elements) {
            const std::string_view node = element.word.Text();
            const size_t dot = node.find('.');
            if (element.kind != Kind::Node || dot == node.npos) {
                continue;
            }
            const auto part = board.partsByName.find(node.substr(0, dot));
            if (part != board.partsByName.end()) {
                pins[part->second].push_back(element.word);
                continue;
            }
            const bool isNew = told.insert(node.substr(0, dot)).second;
            const std::string nearest =
                isNew && report.IsHeard() ? NearestName(node.substr(0, dot), known) : "";
            report.Count(
                fmt::format("{}/{}", board.name, node.substr(0, dot)), element.word.Place(),
                fmt::format("{} is not in [Reference Designator Map]", node.substr(0, dot)),
                nearest.empty() ? "add its file and component"
                                : fmt::format("did you mean {}?", nearest));
        }
    }
    return pins;
}

void PartsAreKnown(const Board& board, Report& report)
{
    const auto pins = PinsOfParts(board, report);
    for (size_t part = 0; part < board.parts.size(); ++part) {
        CheckPart(board.parts[part], pins[part], Error, report);
    }
}

bool IsSignal(const Board::Pin& pin)
{
    return pin.signal != "POWER" && pin.signal != "GND" && pin.signal != "NC";
}

void PinsHavePaths(const Board& board, Report& report)
{
    std::unordered_set<std::string_view> reached;
    for (const BoardPath& path : board.paths) {
        for (const PathElement& element : path.elements) {
            if (element.kind == Kind::Pin) {
                reached.insert(element.word.Text());
            }
        }
    }
    for (const Board::Pin& pin : board.pins) {
        if (!board.paths.empty() && IsSignal(pin) && !reached.contains(pin.name.Text())) {
            report.Count(
                fmt::format("{}/pins", board.name), pin.name.Place(),
                fmt::format("no path of board '{}' begins at pin {}", board.name, pin.name.Text()),
                "describe its path, or name its signal POWER, GND or NC");
        }
    }
}

void SectionsArePossible(const Board& board, Report& report)
{
    for (const BoardPath& path : board.paths) {
        for (const PathElement& element : path.elements) {
            const StubPiece& piece = element.piece;
            const bool negative = piece.length < 0 || piece.r < 0 || piece.l < 0 || piece.c < 0;
            if (negative || (piece.length > 0 && (std::isnan(piece.l) || std::isnan(piece.c)))) {
                report.Count(
                    fmt::format("{}/values", board.name), element.word.Place(),
                    fmt::format(
                        "path '{}' of board '{}' has a section {}", path.name, board.name,
                        negative ? "with a negative value" : "of some length without L or C"),
                    negative ? "check the sign"
                             : "a line needs both; write Len=0 for a lumped element");
            }
        }
    }
}

void BoardIsComplete(const Board& board, Report& report)
{
    PinsHavePaths(board, report);
    SectionsArePossible(board, report);
}

void PathIsPlausible(const Board& board, const BoardPath& path, Report& report)
{
    double delay = 0;
    for (const PathElement& element : path.elements) {
        const StubPiece& piece = element.piece;
        if (!(piece.length > 0 && piece.l > 0 && piece.c > 0)) {
            continue;
        }
        delay += piece.length * std::sqrt(piece.l * piece.c);
        const double impedance = std::sqrt(piece.l / piece.c);
        if (impedance < 10 || impedance > 200) {
            report.Count(fmt::format("{}/ohm", board.name), element.word.Place(),
                         fmt::format("path '{}' of board '{}' has a section of {}, expected 10 to "
                                     "200 ohm",
                                     path.name, board.name, Ohms(impedance)),
                         "check the units of L and C");
        }
    }
    if (delay > 10e-9) {
        report.Count(fmt::format("{}/ns", board.name), path.place,
                     fmt::format("path '{}' of board '{}' takes {}, expected less than 10 ns",
                                 path.name, board.name, Seconds(delay)),
                     "check Len and the units of L and C");
    }
}

void PathsArePlausible(const Board& board, Report& report)
{
    for (const BoardPath& path : board.paths) {
        PathIsPlausible(board, path, report);
    }
}

constexpr Check<Board> kChecks[] = {
    {{740, Error, Since(30),
      "A board is closed by [End Board Description] and has [Manufacturer], [Number Of Pins], [Pin "
      "List] and [Path Description]",
      "The standard requires them.", "[Begin Board Description] without [Pin List]"},
     HasItsKeywords},
    {{741,
      Error,
      {},
      "[Number Of Pins] is the number of rows of [Pin List], and these are unique",
      "Paths refer to pins by their names.",
      "pin A1 twice"},
     PinsAreCountedAndUnique},
    {{742,
      Error,
      {},
      "A path begins with Pin or Node, each of its sections has a Len and ends in /, Fork and "
      "Endfork are paired, and a Node is a designator and a pin",
      "A reader that misses a / takes two sections for one.",
      "Node U23"},
     PathsAreWellFormed},
    {{743,
      Error,
      {},
      "Each designator of a Node is in [Reference Designator Map], whose file has the component "
      "and "
      "the pin",
      "The path leads nowhere otherwise. A file that is not there is noted only where nothing that "
      "the board names stands beside it: the board came alone then.",
      "Node U7.4 without a row of U7"},
     PartsAreKnown},
    {{744,
      Warning,
      {},
      "Every signal pin has a path, a section of some length has L and C, and no value is negative",
      "A pin without a path ends at the connector.",
      "Len=1.2 L=8n/"},
     BoardIsComplete},
    {{745,
      Warning,
      {},
      "Sections have sqrt(L/C) of 10 to 200 ohm, and a path takes less than 10 ns",
      "What lies beyond is in the wrong unit.",
      "Len=1.2 L=8p C=3p/"},
     PathsArePlausible},
};

}  // namespace

const RuleSet& BoardRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::boards, kChecks, ReadBoard>();
    return set;
}

}  // namespace ibis
