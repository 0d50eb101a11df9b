#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "base/Error.hpp"
#include "host/cli/Commands.hpp"
#include "host/cli/Description.hpp"
#include "python/RunHandle.hpp"

namespace {

namespace py = pybind11;
using amisim::RunHandle;

/// An Error becomes that class of amisim.errors which has its exit code.
void Translate(std::exception_ptr thrown)
{
    try {
        if (thrown) std::rethrow_exception(thrown);
    } catch (const amisim::Error& error) {
        const py::object made =
            py::module_::import("amisim.errors")
                .attr("for_exit_code")(static_cast<int>(error.Code()), error.what());
        PyErr_SetObject(py::type::of(made).ptr(), made.ptr());
    }
}

}  // namespace

PYBIND11_MODULE(_core, m)
{
    m.doc() = "What amisim's Python module takes from the simulation library.";
    m.attr("version") = AMISIM_VERSION;
    py::register_exception_translator(&Translate);

    m.def(
        "describe_commands",
        [] {
            amisim::Commands commands;
            return amisim::DescribeCommands(commands.App());
        },
        "All subcommands with their options, as JSON.");

    using Settings = RunHandle::Settings;
    py::class_<RunHandle>(m, "Run", "A run that has ended.")
        .def(py::init([](std::vector<std::string> arguments, std::string worker, bool write,
                         std::optional<bool> keepWave, py::object progress) {
                 return std::make_unique<RunHandle>(
                     Settings{std::move(arguments), std::move(worker), write, keepWave},
                     std::move(progress));
             }),
             py::arg("arguments"), py::kw_only(), py::arg("worker"), py::arg("write"),
             py::arg("keep_wave"), py::arg("progress"))
        .def("json", &RunHandle::Json, "The text of result.json.")
        .def("report", &RunHandle::Report, "The text of report.html.")
        .def("curves", &RunHandle::Curves, "The curves' files by their names, as bytes.")
        .def("impulses", &RunHandle::Impulses, "The impulse responses from AMI_Init, V/s.")
        .def("earlier", &RunHandle::TakeEarlier,
             "The segments before the last, once: they are handed over.")
        .def_property_readonly("wave", &RunHandle::Wave)
        .def_property_readonly("clock", &RunHandle::Clock)
        .def_property_readonly("exit_code", &RunHandle::ExitCode)
        .def_property_readonly("failure", &RunHandle::Failure);
}
