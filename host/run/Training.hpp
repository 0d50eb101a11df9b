#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/process/ModelSource.hpp"
#include "host/process/ParameterLog.hpp"

namespace amisim {

/// What came of a link training.
struct TrainingFindings
{
    enum class State {
        kUnderWay,   // the run ended before it
        kConverged,  // both models say so
        kFailed,     // a model says that it has failed, or of an error
        kOff,        // a model has no part in it
        kTimedOut,   // the unit intervals that it may take are over
    };
    State state = State::kUnderWay;
    std::int64_t bits = 0;      // that it took
    std::int64_t interval = 0;  // bits from message to message
};

/// "under way", "converged", "failed", "off", "timed out".
std::string_view Name(TrainingFindings::State state);

/// What is declared for one of a model's reserved parameters, as it is sent or stated.
std::optional<std::string> DeclaredText(const ModelSource& model, const char* parameter);

/// Link training (IBIS 7.0, BCI_...): models at both ends of a segment exchange messages, through
/// files named after their BCI_ID, while AMI_GetWave of both is called in turn for a message
/// interval at a time. The host does not read the messages; it sees BCI_State in what the models
/// give back, and ends the training when that of both is Converged.
class Training
{
public:
    /// Of models that have been handed a BCI_State "Training"; nothing of others.
    /// @param blockBits  of AMI_GetWave, where neither model declares a message interval
    static std::optional<Training> Of(const ModelSource* transmitter, const ModelSource& receiver,
                                      std::int64_t blockBits);

    /// The longest message interval that there is room for, as far as the files tell; bits.
    std::int64_t Room() const { return room_; }

    /// Removes from the models' folder what an earlier training under this BCI_ID has left.
    void RemoveMessages(const std::filesystem::path& folder) const;

    /// Once AMI_Init of both has told what it tells. @param notes  gets a sentence on an interval
    /// that there is no room for
    void Begin(const std::vector<ParameterTrack>& transmitter,
               const std::vector<ParameterTrack>& receiver, std::vector<std::string>& notes);

    /// Takes what the models have given back as parameters, after so many more bits.
    void Take(std::string_view transmitter, std::string_view receiver, std::int64_t bits);

    bool IsUnderWay() const { return found_.state == TrainingFindings::State::kUnderWay; }
    const TrainingFindings& Findings() const { return found_; }

    /// A sentence on what kept it from converging; "" where it has.
    std::string Remark() const;

    /// Where neither model declares BCI_Training_UI.
    static constexpr std::int64_t kDefaultLimit = 1'000'000;

private:
    struct End
    {
        const ModelSource* model;
        const char* name;
        std::string state = "Training";  // as it said last
    };
    Training(const ModelSource& transmitter, const ModelSource& receiver, std::int64_t blockBits);
    std::optional<std::int64_t> Declared(const char* parameter) const;
    const End* Saying(std::string_view state) const;

    End receiver_, transmitter_;
    std::int64_t room_;
    std::int64_t limit_ = kDefaultLimit;
    TrainingFindings found_;
};

}  // namespace amisim
