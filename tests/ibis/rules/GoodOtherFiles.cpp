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

}  // namespace ibis
