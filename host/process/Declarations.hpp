#pragma once

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

/// What the host makes of a model's reserved parameters.
struct Declarations
{
    std::vector<DeclaredNumber> numbers;  // that are applied
    std::vector<std::string> notes;       // a sentence on each that is declared and not honoured
};

/// @param overrides  of the user
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
