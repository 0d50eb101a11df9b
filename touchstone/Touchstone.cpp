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
    explicit Reader(const std::filesystem::path& path) : m_path(path)
    {
        const std::string kind = Lowercase(path.extension().string());  // ".s4p"
        if (kind.starts_with(".s") && kind.ends_with("p") && kind.size() > 3) {
            const auto ports = Number(kind.substr(2, kind.size() - 3));
            m_s.ports = ports && *ports >= 1 && *ports <= kMostPorts ? static_cast<int>(*ports) : 0;
        }
    }

    SParameters Run(std::string_view text)
    {
        TextBuffer buffer(text);
        TextLines lines(buffer);
        for (std::string whole; !m_ended && lines.Next(whole);) {
            m_line = static_cast<int>(lines.Number());
            const std::string_view line = whole;
            const size_t remark = std::min(line.find('!'), line.size());
            NoteModes(line.substr(remark));
            ReadLine(Trimmed(line.substr(0, remark)));
        }
        Finish();
        return std::move(m_s);
    }

private:
    enum class Form { RI, MA, DB };
    enum class Section { Head, Reference, Information, Network, Noise };

    /// What writes mixed-mode data names their terms in its remarks.
    void NoteModes(std::string_view remark)
    {
        if (remark.empty() || (m_namesDifferential && m_namesCommon)) {
            return;
        }
        const std::string text = Lowercase(remark);
        m_namesDifferential |= text.find("sdd11") != text.npos;
        m_namesCommon |= text.find("scc11") != text.npos;
    }

    void ReadLine(std::string_view line)
    {
        if (line.empty()) {
            return;
        }
        if (line.front() == '[') {
            ReadKeyword(line);
        } else if (m_section == Section::Information || m_section == Section::Noise) {
            return;
        } else if (line.front() == '#') {
            if (!m_hasOptions) {  // the standard has later ones ignored
                ReadOptions(Words(Lowercase(line.substr(1))));
            }
        } else if (m_section == Section::Reference) {
            ReadReference(Words(line));
        } else {
            ReadData(Words(line));
        }
    }

    // "# GHz S MA R 50" in any order, each with its default.
    void ReadOptions(const Strings& words)
    {
        m_hasOptions = true;
        double reference = 50.0;
        for (size_t i = 0; i < words.size(); ++i) {
            const std::string_view word = words[i];
            if (word == "hz" || word == "khz" || word == "mhz" || word == "ghz") {
                m_unit = word == "hz" ? 1.0 : word == "khz" ? 1e3 : word == "mhz" ? 1e6 : 1e9;
            } else if (word == "ri" || word == "ma" || word == "db") {
                m_form = word == "ri" ? Form::RI : word == "ma" ? Form::MA : Form::DB;
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
        if (m_s.reference.empty()) {
            m_s.reference.assign(1, reference);
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
            if (m_isVersion2 || m_hasOptions) {
                Fail("expected [Version] once, before all else");
            }
            m_isVersion2 = true;
            m_s.ports = 0;  // [Number of Ports] counts, not the file's name
            return;
        }
        if (!m_isVersion2) {
            Fail("expected [Version] 2.0 before the keyword [{}]", keyword);
        }
        const bool hasData = m_section == Section::Network || m_section == Section::Noise;
        if (hasData && keyword != "noise data" && keyword != "end") {
            Fail("expected no more than [Noise Data] and [End] after the data, found [{}]",
                 keyword);
        } else if (m_section == Section::Information) {
            m_section = keyword == "end information" ? Section::Head : m_section;
        } else if (keyword == "number of ports") {
            if (m_s.ports != 0) {  // what follows counts by the first
                Fail("a second [Number of Ports]");
            }
            m_s.ports = Count(argument, kMostPorts);
        } else if (keyword == "number of frequencies") {
            m_frequencies = static_cast<size_t>(Count(argument, 1e9));
        } else if (keyword == "two-port data order") {
            m_order = OneOf(argument, {"12_21", "21_12"});
        } else if (keyword == "matrix format") {
            m_matrix = OneOf(argument, {"full", "lower", "upper"});
        } else if (keyword == "reference") {
            m_s.reference.clear();
            m_section = Section::Reference;
            ReadReference(Words(argument));
        } else if (keyword == "mixed-mode order") {
            ReadModes(Words(argument));
        } else if (keyword == "network data") {
            RequirePorts();
            m_section = Section::Network;
        } else if (keyword == "begin information") {
            m_section = Section::Information;
        } else if (keyword == "noise data") {
            RequireWholeBlock();
            m_section = Section::Noise;
        } else if (keyword == "end") {
            m_ended = true;
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
            m_s.reference.push_back(*ohms);
        }
        if (m_s.reference.size() >= Ports()) {
            m_section = Section::Head;
        }
    }

    /// Each descriptor gives a row that makes a mode's wave from the ports': D2,3 (a2 - a3) / sqrt
    /// 2, C2,3 (a2 + a3) / sqrt 2, S4 a4.
    void ReadModes(const Strings& words)
    {
        RequirePorts();
        const auto n = static_cast<Eigen::Index>(m_s.ports);
        m_modes = Eigen::MatrixXd::Zero(n, n);
        m_s.modes = ModeHints::Stated;
        Eigen::Index row = 0;
        for (const std::string_view word : words) {
            const size_t comma = word.find(',');
            const auto p = Number(word.substr(1, std::min(comma, word.size()) - 1));
            const auto q = comma == word.npos ? p : Number(word.substr(comma + 1));
            const bool isPair = word[0] == 'd' || word[0] == 'c';
            if (row == n || !(isPair || word[0] == 's') || isPair == (comma == word.npos) || !p ||
                !q || *p < 1.0 || *q < 1.0 || *p > m_s.ports || *q > m_s.ports) {
                Fail("expected {} of D2,3 C2,3 S4 and their like in [Mixed-Mode Order], found '{}'",
                     m_s.ports, word);
            }
            const double weight = isPair ? std::numbers::sqrt2 / 2.0 : 1.0;
            m_modes(row, static_cast<Eigen::Index>(*q) - 1) = word[0] == 'd' ? -weight : weight;
            m_modes(row, static_cast<Eigen::Index>(*p) - 1) = weight;
            ++row;
        }
        if (!(m_modes * m_modes.transpose()).isIdentity(1e-9)) {
            Fail("[Mixed-Mode Order] must name the D and C of each pair once and {} modes in all",
                 m_s.ports);
        }
    }

    void ReadData(const Strings& words)
    {
        if (!m_hasOptions) {
            Fail("expected the option line '# GHz S MA R 50' before the data, found '{}'",
                 words.front());
        }
        if (m_isVersion2 && m_section != Section::Network) {
            Fail("expected [Network Data] before the data, found '{}'", words.front());
        }
        RequirePorts();
        const bool begins = m_block.empty();
        if (begins) {
            m_blockLine = m_line;
        }
        for (const std::string_view word : words) {
            const auto number = Number(word);
            if (!number) {
                Fail("expected a number, found '{}'", word);
            }
            m_block.push_back(*number);
        }
        const double frequency = m_block.front() * m_unit;
        if (!std::isfinite(frequency)) {
            Fail("expected a frequency, found {}", words.front());
        }
        const bool rises =
            m_s.frequency.empty() ? frequency >= 0.0 : frequency > m_s.frequency.back();
        if (begins && !m_isVersion2 && m_s.ports == 2 && words.size() == 5 && !rises) {
            m_section = Section::Noise;  // version 1 has no mark but the frequency that falls back
            m_block.clear();
            return;
        }
        if ((words.size() % 2 == 0) == begins) {
            Fail("expected {}pairs of values, found {} numbers; are there really {} ports?",
                 begins ? "a frequency and " : "", words.size(), m_s.ports);
        }
        if (m_block.size() > BlockSize()) {
            Fail("expected {} numbers for the frequency of line {} with {} ports, found {}",
                 BlockSize(), m_blockLine, m_s.ports, m_block.size());
        }
        const bool repeats = !m_s.frequency.empty() && frequency == m_s.frequency.back();
        if (begins && !rises && !repeats) {
            Fail("expected a frequency above the one before, found {}", words.front());
        }
        if (m_block.size() == BlockSize()) {
            if (repeats) {
                NoteRepeat();
            } else {
                m_s.frequency.push_back(frequency);
                StoreBlock();
            }
            m_block.clear();
        }
    }

    /// As where two sweeps of an instrument were joined: the first counts.
    void NoteRepeat()
    {
        if (m_repeats++ == 0) {
            m_firstRepeat = m_blockLine;
        }
    }

    void StoreBlock()
    {
        const size_t n = Ports();
        Eigen::MatrixXcd matrix(m_s.ports, m_s.ports);
        size_t next = 1;
        for (size_t row = 0; row < n; ++row) {
            const size_t first = m_matrix == "upper" ? row : 0;
            const size_t last = m_matrix == "lower" ? row + 1 : n;
            for (size_t column = first; column < last; ++column, next += 2) {
                const Complex value = Value(m_block[next], m_block[next + 1]);
                if (!(std::abs(value) <= kLargest)) {
                    Fail("expected scattering parameters, found one of magnitude {:g}",
                         std::abs(value));
                }
                auto i = static_cast<Eigen::Index>(row);
                auto j = static_cast<Eigen::Index>(column);
                if (m_matrix != "full") {
                    matrix(j, i) = value;  // reciprocal
                } else if (n == 2 && m_order != "12_21") {
                    std::swap(i, j);  // S11 S21 S12 S22
                }
                matrix(i, j) = value;
            }
        }
        if (m_modes.size() != 0) {
            matrix = (m_modes.transpose() * matrix * m_modes).eval();
        }
        for (Eigen::Index i = 0; i < matrix.rows(); ++i) {
            for (Eigen::Index j = 0; j < matrix.cols(); ++j) {
                m_s.values.push_back(matrix(i, j));
            }
        }
    }

    Complex Value(double first, double second) const
    {
        if (m_form == Form::RI) {
            return {first, second};
        }
        const double magnitude = m_form == Form::DB ? std::pow(10.0, first / 20.0) : first;
        const double angle = second * std::numbers::pi / 180.0;
        return {magnitude * std::cos(angle), magnitude * std::sin(angle)};
    }

    void Finish()
    {
        RequireWholeBlock();
        if (m_s.frequency.empty()) {
            throw Error(m_path, "holds no network data");
        }
        const size_t found = m_s.frequency.size() + m_repeats;
        if (m_frequencies != 0 && m_frequencies != found) {
            Fail("expected {} frequencies as [Number of Frequencies] says, found {}{}",
                 m_frequencies, found, m_isVersion2 && !m_ended ? "; the file is truncated" : "");
        }
        if (m_isVersion2 && !m_ended) {
            m_s.notes.push_back(fmt::format("has no [End]{}", m_frequencies == 0
                                                                  ? ": it may be truncated"
                                                                  : ", but all its frequencies"));
        }
        if (m_repeats != 0) {
            m_s.notes.push_back(fmt::format(
                "{} given twice, of which the first counts (line {})",
                m_repeats == 1 ? "a frequency is" : fmt::format("{} frequencies are", m_repeats),
                m_firstRepeat));
        }
        if (m_s.modes == ModeHints::None && m_namesDifferential && m_namesCommon) {
            m_s.modes = ModeHints::Named;
        }
        if (m_isVersion2 && m_s.ports == 2 && m_matrix == "full" && m_order.empty()) {
            Fail("expected [Two-Port Data Order] for a two-port of version 2");
        }
        if (m_s.reference.size() == 1) {
            m_s.reference.resize(Ports(), m_s.reference.front());
        } else if (m_s.reference.size() != Ports()) {
            Fail("expected {} values in [Reference], found {}", m_s.ports, m_s.reference.size());
        }
    }

    void RequireWholeBlock() const
    {
        if (!m_block.empty()) {
            Fail(
                "expected {} numbers for the frequency of line {}, found {}; the file is "
                "truncated",
                BlockSize(), m_blockLine, m_block.size());
        }
    }

    void RequirePorts() const
    {
        if (m_s.ports == 0) {
            Fail("expected {}", m_isVersion2 ? "[Number of Ports] before this line"
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

    size_t Ports() const { return static_cast<size_t>(m_s.ports); }

    size_t BlockSize() const
    {
        return 1 + (m_matrix == "full" ? 2 * Ports() * Ports() : Ports() * (Ports() + 1));
    }

    template <class... Arguments>
    [[noreturn]] void Fail(fmt::format_string<Arguments...> format, Arguments&&... arguments) const
    {
        throw Error(m_path, m_line, fmt::format(format, std::forward<Arguments>(arguments)...));
    }

    const std::filesystem::path& m_path;
    SParameters m_s;
    int m_line = 0;
    bool m_ended = false;
    bool m_isVersion2 = false;
    bool m_hasOptions = false;
    Section m_section = Section::Head;
    double m_unit = 1e9;
    Form m_form = Form::MA;
    std::string m_order;  ///< of a two-port, where stated
    std::string m_matrix = "full";
    size_t m_frequencies = 0;     ///< where stated
    Eigen::MatrixXd m_modes;      ///< ports' waves to the modes'; empty without mixed modes
    std::vector<double> m_block;  ///< numbers of the frequency being read
    int m_blockLine = 0;
    size_t m_repeats = 0;  ///< blocks at the frequency of the one before
    int m_firstRepeat = 0;
    bool m_namesDifferential = false, m_namesCommon = false;  ///< in remarks
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
