// Memory-mapped objects on the host system: anonymous shared memory, views of
// it or of a file at page-aligned offsets, and the page size they align to.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vxkrn::platform {

// A new anonymous shared-memory object of `bytes` zero bytes (pages are taken
// from the system only when touched). Returns its descriptor, or -1. The
// descriptor is closed with file_close like any other.
std::int32_t shared_memory_create(std::uint64_t bytes) noexcept;

// Map a readable and writable shared view of `length` bytes of an object
// (shared memory or a regular file) starting at `offset`, which must be a
// multiple of page_size(). Writes reach the object. Returns the view's
// address, or null.
void *view_map(std::int32_t object, std::uint64_t offset, std::size_t length) noexcept;

// Unmap a view made by view_map, with the length it was mapped with.
void view_unmap(void *address, std::size_t length) noexcept;

// The alignment of view offsets: the system page size, never 0.
std::uint32_t page_size() noexcept;

}  // namespace vxkrn::platform

// Test instrumentation, per calling thread, never armed by the library itself.
namespace vxkrn::testing {

// While set, shared_memory_create fails as if the system had none to give.
void fail_shared_memory(bool fail) noexcept;

// Make view_map fail for views longer than `bytes`, as when address space is
// short; 0 disarms.
void fail_views_longer_than(std::size_t bytes) noexcept;

// Views the calling thread has mapped so far.
unsigned views_mapped() noexcept;

}  // namespace vxkrn::testing
