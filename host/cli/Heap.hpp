#pragma once

namespace amisim {

/// Makes the program's memory ready for arrays of megabytes that come and go: what is given back
/// stays, and the first of it lies in large pages where the system has them. A page that is touched
/// for the first time costs more than the 4 kB that are written to it. To be called before threads
/// are started.
void PrepareHeap();

}  // namespace amisim
