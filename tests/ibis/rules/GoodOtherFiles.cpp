#include "tests/ibis/rules/GoodFiles.hpp"

/// The good files that hold no model: packages, boards, interconnects.
namespace ibis {

std::string GoodPackages()
{
    return R"([Define Package Model] STUBS
[Manufacturer] Maker
[OEM] Packager
[Description] Bond wire, trace with a branch, ball
[Number Of Sections] 4
[Number Of Pins] 3
[Pin Numbers]
1 Len=0 L=1.2n/ Len = 1.2 L=2.0n C=0.5p R=0.05 /
  Fork
    Len=0.3 L=2.0n C=0.5p/
  Endfork
  Len=0 L=0.2n C=0.1p/
2 Len=0/ Len=0 L=1.0n C=0.5p/
3 Len=0 L=1.0n C=0.5p/
[End Package Model]
[Define Package Model] MATRICES
[Manufacturer] Maker
[OEM] Packager
[Description] The same by matrices
[Number Of Pins] 3
[Pin Numbers]
1
2
3
[Model Data]
[Resistance Matrix] Sparse_matrix
[Row] 1
1 50m
[Row] 3
3 60m
[Inductance Matrix] Full_matrix
[Row] 1
2.0nH 0.8nH
0.3nH
[Row] 2
2.1nH 0.7nH
[Row] 3
2.2nH
[Capacitance Matrix] Banded_matrix
[Bandwidth] 1
[Row] 1
1.0pF -0.2pF
[Row] 2
1.1pF -0.3pF
[Row] 3
1.2pF
[End Model Data]
[End Package Model]
)";
}

std::string GoodBoard()
{
    return R"([Begin Board Description] BOARD
[Manufacturer] Maker
[Number Of Pins] 3
[Pin List] signal_name
A1 DATA
A2 GND
A3 DATA2
[Path Description] DATA
Pin A1
Len=1.2 L=8.0n C=3.0p R=0.01 /
Fork
Len = 0.5 L=8.0n C=3.0p/
Node U1.1
Endfork
Len=0 L=0.5n/ Node U2.1
[Path Description] DATA2
Pin A3
Len=0.2 L=8.0n C=3.0p/
Node U2.2
[Reference Designator Map]
U1 part.ibs Part
U2 part.ibs Part
[End Board Description]
)";
}

std::string GoodInterconnect()
{
    return R"([Interconnect Model Set] SET
[Manufacturer] Maker
[Description] Package of a pin
[Interconnect Model] LINE
Param FILE Corner "net.s2p" "net.s2p" "net.s2p"
File_TS FILE
Unused_port_termination = 50
Number_of_terminals = 3
1 Pin_I/O pin_name 1
2 Buffer_I/O pin_name 1
3 A_gnd
[End Interconnect Model]
[Interconnect Model] CIRCUIT
File_IBIS-ISS net.iss NET
Number_of_terminals = 4
1 Pin_I/O pin_name 1 Aggressor_Only
2 Buffer_I/O pin_name 1 Aggressor_Only
3 Pad_Rail pad_name 2
4 Buffer_Rail bus_label VDD
[End Interconnect Model]
[End Interconnect Model Set]
)";
}

std::string GoodModule()
{
    return R"([Begin EMD] MODULE
[Manufacturer] Maker
[Number Of EMD Pins] 2
[EMD Pin List] signal_name signal_type bus_label
A1 DATA
A2 VSS GND
[End EMD Pin List]
[EMD Parts]
PART part.ibs Part
[End EMD Parts]
[EMD Designator List]
U1 PART
[End EMD Designator List]
[Designator Pin List] signal_name
U1.1 DATA
U1.3 VSS
[End Designator Pin List]
[Voltage List] typ min max
VSS 0.0 0.0 0.0
[End Voltage List]
[EMD Group] GROUP
SET NA
[End EMD Group]
[End EMD]
[EMD Set] SET
[EMD Model] MODEL
File_IBIS-ISS net.iss NET
Number_of_terminals = 2
1 Pin_I/O pin_name A1
2 Pin_I/O pin_name U1.1
[End EMD Model]
[End EMD Set]
)";
}

}  // namespace ibis
