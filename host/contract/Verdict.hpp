#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace amisim::contract {

enum class Outcome {
    kPassed,
    kFailed,
    kDeviates,      // failed, and the model's list of deviations says why it does so on purpose
    kNotApplicable  // the model does not offer what is tried, or what it needs has failed already
};

/// "passed", "failed", "deviates", "not applicable"
const char* Name(Outcome outcome);

/// Figures that a check measures by the way.
struct Figures
{
    double initSeconds = 0;
    double secondsPerSample = 0;
    std::int64_t peakBytes = 0;  // most memory that the process ever held
};

/// What a check found.
struct Verdict
{
    Outcome outcome = Outcome::kPassed;
    std::string function;      // the one to blame, where it is not the check's own
    std::string text;          // one sentence, with numbers
    std::uint64_t digest = 0;  // of the results, for checks that compare two processes
    Figures figures;
};

inline Verdict Passed(std::string text = "")
{
    return {Outcome::kPassed, "", std::move(text), 0, {}};
}
inline Verdict NotApplicable(std::string text)
{
    return {Outcome::kNotApplicable, "", std::move(text), 0, {}};
}

/// Thrown where the model breaks the contract; ends the check.
class Broken : public std::runtime_error
{
public:
    Broken(std::string function, const std::string& text)
        : std::runtime_error(text), function_(std::move(function))
    {
    }
    const std::string& Function() const { return function_; }

private:
    std::string function_;
};

/// Ends the check with a sentence, unless the condition holds.
template <class... Arguments>
void Require(bool condition, const char* function, fmt::format_string<Arguments...> text,
             Arguments&&... arguments)
{
    if (!condition)
        throw Broken(function, fmt::format(text, std::forward<Arguments>(arguments)...));
}

}  // namespace amisim::contract
