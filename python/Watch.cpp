#include "python/Watch.hpp"

namespace amisim {

namespace py = pybind11;

bool Watch::Stopped()
{
    constexpr auto kPause = std::chrono::milliseconds(100);
    const auto now = std::chrono::steady_clock::now();
    if (!thrown_ && now >= next_) {
        next_ = now + kPause;
        const py::gil_scoped_acquire lock;
        Ask();
    }
    return thrown_.has_value();
}

void Watch::Ask()
{
    try {
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        if (!progress_.is_none() && bits_ > 0) progress_(samples_ / samplesPerBit, bits_);
    } catch (py::error_already_set& error) {
        thrown_.emplace(std::move(error));
    }
}

void Watch::Rethrow()
{
    if (thrown_) throw py::error_already_set(std::move(*thrown_));
}

}  // namespace amisim
