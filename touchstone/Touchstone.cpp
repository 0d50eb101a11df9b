#include "touchstone/Touchstone.hpp"

#include <Eigen/Core>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>
#include <optional>

#include "base/TextFile.hpp"
#include "base/TextLines.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;
using ibis::Lowercase;
using ibis::Trimmed;
using Strings = std::vector<std::string_view>;

constexpr int kMostPorts = 256;
constexpr double kLargest = 1e6;  // far above any amplifier's gain

std::optional<double> Number(std::string_view text)
{
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

class Reader
{
public:
    explicit Reader(const std::filesystem::path& path) : path_(path)
    {
        const std::string kind = Lowercase(path.extension().string());  // ".s4p"
        if (kind.starts_with(".s") && kind.ends_with("p") && kind.size() > 3) {
            const auto ports = Number(kind.substr(2, kind.size() - 3));
            s_.ports = ports && *ports >= 1 && *ports <= kMostPorts ? static_cast<int>(*ports) : 0;
        }
    }

    SParameters Run(std::string_view text)
    {
        TextBuffer buffer(text);
        TextLines lines(buffer);
        for (std::string whole; !ended_ && lines.Next(whole);) {
            line_ = static_cast<int>(lines.Number());
            const std::string_view line = whole;
            const size_t remark = std::min(line.find('!'), line.size());
            NoteModes(line.substr(remark));
            ReadLine(Trimmed(line.substr(0, remark)));
        }
        Finish();
        return std::move(s_);
    }

private:
    enum class Form { RI, MA, DB };
    enum class Section { Head, Reference, Information, Network, Noise };

    /// What writes mixed-mode data names their terms in its remarks.
    void NoteModes(std::string_view remark)
    {
        if (remark.empty() || (namesDifferential_ && namesCommon_)) {
            return;
        }
        const std::string text = Lowercase(remark);
        namesDifferential_ |= text.find("sdd11") != text.npos;
        namesCommon_ |= text.find("scc11") != text.npos;
    }

    void ReadLine(std::string_view line)
    {
        if (line.empty()) {
            return;
        }
        if (line.front() == '[') {
            ReadKeyword(line);
        } else if (section_ == Section::Information || section_ == Section::Noise) {
            return;
        } else if (line.front() == '#') {
            if (!hasOptions_) {  // the standard has later ones ignored
                ReadOptions(Words(Lowercase(line.substr(1))));
            }
        } else if (section_ == Section::Reference) {
            ReadReference(Words(line));
        } else {
            ReadData(Words(line));
        }
    }

    // "# GHz S MA R 50" in any order, each with its default.
    void ReadOptions(const Strings& words)
    {
        hasOptions_ = true;
        double reference = 50.0;
        for (size_t i = 0; i < words.size(); ++i) {
            const std::string_view word = words[i];
            if (word == "hz" || word == "khz" || word == "mhz" || word == "ghz") {
                unit_ = word == "hz" ? 1.0 : word == "khz" ? 1e3 : word == "mhz" ? 1e6 : 1e9;
            } else if (word == "ri" || word == "ma" || word == "db") {
                form_ = word == "ri" ? Form::RI : word == "ma" ? Form::MA : Form::DB;
            } else if (word == "r") {
                const auto ohms = i + 1 < words.size() ? Number(words[++i]) : std::nullopt;
                if (!ohms || *ohms <= 0.0) {
                    Fail("expected a resistance in ohms after R");
                }
                reference = *ohms;
            } else if (word == "y" || word == "z" || word == "g" || word == "h") {
                Fail("expected S parameters, found {}; convert the file to S", word);
            } else if (word != "s") {
                Fail("expected '# Hz|kHz|MHz|GHz S RI|MA|DB R ohms', found '{}'", word);
            }
        }
        if (s_.reference.empty()) {
            s_.reference.assign(1, reference);
        }
    }

    void ReadKeyword(std::string_view line)
    {
        const size_t close = line.find(']');
        if (close == line.npos) {
            Fail("expected ']' after the keyword");
        }
        const std::string keyword = Lowercase(line.substr(1, close - 1));
        const std::string argument = Lowercase(Trimmed(line.substr(close + 1)));
        if (keyword == "version") {
            if (!argument.starts_with("2.")) {
                Fail("expected [Version] 2.0 or 2.1, found '{}'", argument);
            }
            if (isVersion2_ || hasOptions_) {
                Fail("expected [Version] once, before all else");
            }
            isVersion2_ = true;
            s_.ports = 0;  // [Number of Ports] counts, not the file's name
            return;
        }
        if (!isVersion2_) {
            Fail("expected [Version] 2.0 before the keyword [{}]", keyword);
        }
        const bool hasData = section_ == Section::Network || section_ == Section::Noise;
        if (hasData && keyword != "noise data" && keyword != "end") {
            Fail("expected no more than [Noise Data] and [End] after the data, found [{}]",
                 keyword);
        } else if (section_ == Section::Information) {
            section_ = keyword == "end information" ? Section::Head : section_;
        } else if (keyword == "number of ports") {
            if (s_.ports != 0) {  // what follows counts by the first
                Fail("a second [Number of Ports]");
            }
            s_.ports = Count(argument, kMostPorts);
        } else if (keyword == "number of frequencies") {
            frequencies_ = static_cast<size_t>(Count(argument, 1e9));
        } else if (keyword == "two-port data order") {
            order_ = OneOf(argument, {"12_21", "21_12"});
        } else if (keyword == "matrix format") {
            matrix_ = OneOf(argument, {"full", "lower", "upper"});
        } else if (keyword == "reference") {
            s_.reference.clear();
            section_ = Section::Reference;
            ReadReference(Words(argument));
        } else if (keyword == "mixed-mode order") {
            ReadModes(Words(argument));
        } else if (keyword == "network data") {
            RequirePorts();
            section_ = Section::Network;
        } else if (keyword == "begin information") {
            section_ = Section::Information;
        } else if (keyword == "noise data") {
            RequireWholeBlock();
            section_ = Section::Noise;
        } else if (keyword == "end") {
            ended_ = true;
        } else if (keyword != "number of noise frequencies") {
            Fail("unknown keyword [{}]", keyword);
        }
    }

    /// May go on over several lines.
    void ReadReference(const Strings& words)
    {
        RequirePorts();
        for (const std::string_view word : words) {
            const auto ohms = Number(word);
            if (!ohms || *ohms <= 0.0) {
                Fail("expected a resistance in ohms for each port in [Reference], found '{}'",
                     word);
            }
            s_.reference.push_back(*ohms);
        }
        if (s_.reference.size() >= Ports()) {
            section_ = Section::Head;
        }
    }

    /// Each descriptor gives a row that makes a mode's wave from the ports': D2,3 (a2 - a3) / sqrt
    /// 2, C2,3 (a2 + a3) / sqrt 2, S4 a4.
    void ReadModes(const Strings& words)
    {
        RequirePorts();
        const auto n = static_cast<Eigen::Index>(s_.ports);
        modes_ = Eigen::MatrixXd::Zero(n, n);
        s_.modes = ModeHints::Stated;
        Eigen::Index row = 0;
        for (const std::string_view word : words) {
            const size_t comma = word.find(',');
            const auto p = Number(word.substr(1, std::min(comma, word.size()) - 1));
            const auto q = comma == word.npos ? p : Number(word.substr(comma + 1));
            const bool isPair = word[0] == 'd' || word[0] == 'c';
            if (row == n || !(isPair || word[0] == 's') || isPair == (comma == word.npos) || !p ||
                !q || *p < 1.0 || *q < 1.0 || *p > s_.ports || *q > s_.ports) {
                Fail("expected {} of D2,3 C2,3 S4 and their like in [Mixed-Mode Order], found '{}'",
                     s_.ports, word);
            }
            const double weight = isPair ? std::numbers::sqrt2 / 2.0 : 1.0;
            modes_(row, static_cast<Eigen::Index>(*q) - 1) = word[0] == 'd' ? -weight : weight;
            modes_(row, static_cast<Eigen::Index>(*p) - 1) = weight;
            ++row;
        }
        if (!(modes_ * modes_.transpose()).isIdentity(1e-9)) {
            Fail("[Mixed-Mode Order] must name the D and C of each pair once and {} modes in all",
                 s_.ports);
        }
    }

    void ReadData(const Strings& words)
    {
        if (!hasOptions_) {
            Fail("expected the option line '# GHz S MA R 50' before the data, found '{}'",
                 words.front());
        }
        if (isVersion2_ && section_ != Section::Network) {
            Fail("expected [Network Data] before the data, found '{}'", words.front());
        }
        RequirePorts();
        const bool begins = block_.empty();
        if (begins) {
            blockLine_ = line_;
        }
        for (const std::string_view word : words) {
            const auto number = Number(word);
            if (!number) {
                Fail("expected a number, found '{}'", word);
            }
            block_.push_back(*number);
        }
        const double frequency = block_.front() * unit_;
        if (!std::isfinite(frequency)) {
            Fail("expected a frequency, found {}", words.front());
        }
        const bool rises =
            s_.frequency.empty() ? frequency >= 0.0 : frequency > s_.frequency.back();
        if (begins && !isVersion2_ && s_.ports == 2 && words.size() == 5 && !rises) {
            section_ = Section::Noise;  // version 1 has no mark but the frequency that falls back
            block_.clear();
            return;
        }
        if ((words.size() % 2 == 0) == begins) {
            Fail("expected {}pairs of values, found {} numbers; are there really {} ports?",
                 begins ? "a frequency and " : "", words.size(), s_.ports);
        }
        if (block_.size() > BlockSize()) {
            Fail("expected {} numbers for the frequency of line {} with {} ports, found {}",
                 BlockSize(), blockLine_, s_.ports, block_.size());
        }
        const bool repeats = !s_.frequency.empty() && frequency == s_.frequency.back();
        if (begins && !rises && !repeats) {
            Fail("expected a frequency above the one before, found {}", words.front());
        }
        if (block_.size() == BlockSize()) {
            if (repeats) {
                NoteRepeat();
            } else {
                s_.frequency.push_back(frequency);
                StoreBlock();
            }
            block_.clear();
        }
    }

    /// As where two sweeps of an instrument were joined: the first counts.
    void NoteRepeat()
    {
        if (repeats_++ == 0) {
            firstRepeat_ = blockLine_;
        }
    }

    void StoreBlock()
    {
        const size_t n = Ports();
        Eigen::MatrixXcd matrix(s_.ports, s_.ports);
        size_t next = 1;
        for (size_t row = 0; row < n; ++row) {
            const size_t first = matrix_ == "upper" ? row : 0;
            const size_t last = matrix_ == "lower" ? row + 1 : n;
            for (size_t column = first; column < last; ++column, next += 2) {
                const Complex value = Value(block_[next], block_[next + 1]);
                if (!(std::abs(value) <= kLargest)) {
                    Fail("expected scattering parameters, found one of magnitude {:g}",
                         std::abs(value));
                }
                auto i = static_cast<Eigen::Index>(row);
                auto j = static_cast<Eigen::Index>(column);
                if (matrix_ != "full") {
                    matrix(j, i) = value;  // reciprocal
                } else if (n == 2 && order_ != "12_21") {
                    std::swap(i, j);  // S11 S21 S12 S22
                }
                matrix(i, j) = value;
            }
        }
        if (modes_.size() != 0) {
            matrix = (modes_.transpose() * matrix * modes_).eval();
        }
        for (Eigen::Index i = 0; i < matrix.rows(); ++i) {
            for (Eigen::Index j = 0; j < matrix.cols(); ++j) {
                s_.values.push_back(matrix(i, j));
            }
        }
    }

    Complex Value(double first, double second) const
    {
        if (form_ == Form::RI) {
            return {first, second};
        }
        const double magnitude = form_ == Form::DB ? std::pow(10.0, first / 20.0) : first;
        const double angle = second * std::numbers::pi / 180.0;
        return {magnitude * std::cos(angle), magnitude * std::sin(angle)};
    }

    void Finish()
    {
        RequireWholeBlock();
        if (s_.frequency.empty()) {
            throw Error(path_, "holds no network data");
        }
        const size_t found = s_.frequency.size() + repeats_;
        if (frequencies_ != 0 && frequencies_ != found) {
            Fail("expected {} frequencies as [Number of Frequencies] says, found {}{}",
                 frequencies_, found, isVersion2_ && !ended_ ? "; the file is truncated" : "");
        }
        if (isVersion2_ && !ended_) {
            s_.notes.push_back(fmt::format("has no [End]{}", frequencies_ == 0
                                                                 ? ": it may be truncated"
                                                                 : ", but all its frequencies"));
        }
        if (repeats_ != 0) {
            s_.notes.push_back(fmt::format(
                "{} given twice, of which the first counts (line {})",
                repeats_ == 1 ? "a frequency is" : fmt::format("{} frequencies are", repeats_),
                firstRepeat_));
        }
        if (s_.modes == ModeHints::None && namesDifferential_ && namesCommon_) {
            s_.modes = ModeHints::Named;
        }
        if (isVersion2_ && s_.ports == 2 && matrix_ == "full" && order_.empty()) {
            Fail("expected [Two-Port Data Order] for a two-port of version 2");
        }
        if (s_.reference.size() == 1) {
            s_.reference.resize(Ports(), s_.reference.front());
        } else if (s_.reference.size() != Ports()) {
            Fail("expected {} values in [Reference], found {}", s_.ports, s_.reference.size());
        }
    }

    void RequireWholeBlock() const
    {
        if (!block_.empty()) {
            Fail(
                "expected {} numbers for the frequency of line {}, found {}; the file is "
                "truncated",
                BlockSize(), blockLine_, block_.size());
        }
    }

    void RequirePorts() const
    {
        if (s_.ports == 0) {
            Fail("expected {}", isVersion2_ ? "[Number of Ports] before this line"
                                            : "a file name that ends in .s2p, .s4p or their like");
        }
    }

    int Count(const std::string& argument, double most) const
    {
        const auto count = Number(argument);
        if (!count || *count < 1.0 || *count > most || *count != std::floor(*count)) {
            Fail("expected a whole number from 1 to {}, found '{}'", most, argument);
        }
        return static_cast<int>(*count);
    }

    std::string OneOf(const std::string& argument, const std::vector<std::string>& allowed) const
    {
        for (const std::string& one : allowed) {
            if (one == argument) {
                return one;
            }
        }
        Fail("expected {}, found '{}'", Joined(allowed, " or "), argument);
    }

    size_t Ports() const { return static_cast<size_t>(s_.ports); }

    size_t BlockSize() const
    {
        return 1 + (matrix_ == "full" ? 2 * Ports() * Ports() : Ports() * (Ports() + 1));
    }

    template <class... Arguments>
    [[noreturn]] void Fail(fmt::format_string<Arguments...> format, Arguments&&... arguments) const
    {
        throw Error(path_, line_, fmt::format(format, std::forward<Arguments>(arguments)...));
    }

    const std::filesystem::path& path_;
    SParameters s_;
    int line_ = 0;
    bool ended_ = false;
    bool isVersion2_ = false;
    bool hasOptions_ = false;
    Section section_ = Section::Head;
    double unit_ = 1e9;
    Form form_ = Form::MA;
    std::string order_;  ///< of a two-port, where stated
    std::string matrix_ = "full";
    size_t frequencies_ = 0;     ///< where stated
    Eigen::MatrixXd modes_;      ///< ports' waves to the modes'; empty without mixed modes
    std::vector<double> block_;  ///< numbers of the frequency being read
    int blockLine_ = 0;
    size_t repeats_ = 0;  ///< blocks at the frequency of the one before
    int firstRepeat_ = 0;
    bool namesDifferential_ = false, namesCommon_ = false;  ///< in remarks
};

}  // namespace

SParameters ReadTouchstone(const std::filesystem::path& path)
{
    return ParseTouchstone(ReadTextFile(path), path);
}

SParameters ParseTouchstone(std::string_view text, const std::filesystem::path& path)
{
    return Reader(path).Run(text);
}

}  // namespace amisim
