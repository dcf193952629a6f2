// The memory of a script's buffers, which the engine's own heap limit does not see.
#pragma once

#include <v8-array-buffer.h>

#include <cstddef>
#include <memory>

namespace hostlinux {

// An allocator that hands out at most `limit` bytes at a time; beyond, the script gets a RangeError.
std::unique_ptr<v8::ArrayBuffer::Allocator> MakeCountingAllocator(std::size_t limit);

}  // namespace hostlinux
