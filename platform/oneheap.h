#pragma once

namespace quorvale {

/// Has all threads take their memory from one heap. Otherwise the C library of Linux gives up to eight threads a
/// processor one of their own, and each keeps what its thread freed: with the idle threads of scans, up to 110 MiB
/// each. Must be called before the first thread is started; elsewhere it does nothing.
void useOneHeap();

} // namespace quorvale
