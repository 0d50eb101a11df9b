#include <nlohmann/json.hpp>

#include "host/contract/Task.hpp"

// Texts come from files in any encoding: CBOR takes bytes as they are.
namespace amisim::contract {

using Json = nlohmann::json;

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Edit, at, removed, inserted)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Trial, label, edit)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Spelling, label, plain, other, how)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Trials, list, of)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Spellings, list, of)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Task, library, platform, root, parameters, initReturnsImpulse,
                                   getWaveExists, maxInitAggressors, hasAmi, outputs, rangeEnds,
                                   missing, quotedIntegers, decimalIntegers, bitTime, seed, budget)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Figures, initSeconds, secondsPerSample, peakBytes)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Verdict, outcome, function, text, digest, figures)

namespace {

template <class T>
std::string Bytes(const T& value)
{
    std::string bytes;
    Json::to_cbor(Json(value), nlohmann::detail::output_adapter<char>(bytes));
    return bytes;
}

}  // namespace

std::string ToBytes(const Task& task)
{
    return Bytes(task);
}

std::string ToBytes(const Verdict& verdict)
{
    return Bytes(verdict);
}

Task TaskFrom(const std::string& bytes)
{
    return Json::from_cbor(bytes).get<Task>();
}

Verdict VerdictFrom(const std::string& bytes)
{
    return Json::from_cbor(bytes).get<Verdict>();
}

}  // namespace amisim::contract
