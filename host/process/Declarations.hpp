#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ibis/ChooseModel.hpp"
#include "ibis/ami/AmiFile.hpp"
#include "ibis/ami/ParameterString.hpp"

namespace amisim {

/// A reserved parameter of the .ami by which a model states what is to be applied to a receiver's
/// decisions, Rx_Rj and its kin, or to a transmitter's edges (IBIS 7.2 section 10).
struct DeclaredNumber
{
    std::string name;
    double value = 0;  // s, V or UI; of one that AMI_Init gives back what stands in for it
    bool unitIntervals = false;  // its Type is UI
    bool givenBack = false;      // Usage Out: AMI_Init tells the value
};

/// The analogue part that the .ami states of a model's buffer.
struct DeclaredBuffer
{
    std::filesystem::path network;  // Ts4file; empty: none
    std::string boundary;           // its Ts4file_Boundary
    std::optional<double> volts;    // Tx_V: peak to peak, differential, without load
    std::optional<double> ohms;     // Tx_R or Rx_R, of each leg
};

/// What the host makes of a model's reserved parameters.
struct Declarations
{
    std::vector<DeclaredNumber> numbers;  // that are applied
    DeclaredBuffer buffer;
    std::vector<std::string> notes;  // a sentence on each that is declared and not honoured
};

/// @param overrides  of the user
/// @throws Error (kInput) for a Ts4file that is not there
Declarations ReadDeclarations(const ibis::AmiFile& file, const ibis::Overrides& overrides);

/// The end that it has reserved parameters of, and none of the other; nothing where they do not
/// tell.
std::optional<ibis::End> EndOf(const ibis::AmiFile& file);

/// By how many levels a model takes symbols, as its Modulation or Modulation_Levels is sent to it.
struct DeclaredModulation
{
    std::string name, value;  // of that parameter
    std::string place;        // "rx.ami:12"
    int levels = 2;
    std::vector<std::string> admits;  // other values that it may be given, NRZ or PAM4
    std::string mapping = {};         // its PAM4_Mapping; "": none
};

/// Nothing where it declares none. @throws Error (kModelLoad) for a value that names none
std::optional<DeclaredModulation> ModulationOf(const ibis::AmiFile& file,
                                               const ibis::Overrides& overrides);

}  // namespace amisim
