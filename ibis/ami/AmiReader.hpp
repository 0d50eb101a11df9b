#pragma once

#include "ibis/ami/AmiFile.hpp"
#include "ibis/ami/AmiTree.hpp"

namespace ibis {

/// The meaning of an .ami file's tree: which lists are branches, which parameters, and what each
/// states. Where the tree is not what it should be (rules 822 to 863), the reading that is most
/// probably meant is taken.
AmiFile InterpretAmiTree(const AmiTree& tree, Findings& findings);

}  // namespace ibis
