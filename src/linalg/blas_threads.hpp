// Whether the BLAS at hand may be called by two threads at the same moment.
#pragma once

namespace ovrelin {

/// False for an OpenBLAS that was built for one thread, without locks, where its DGEMM has to pack:
/// two threads that call it at the same moment may get the same buffer, and wrong products. Up to a
/// million multiply-adds it packs nothing on processors with 512-bit registers.
bool blasServesThreads();

}  // namespace ovrelin
