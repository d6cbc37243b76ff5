// The library's own thread-local slots: indices handed out process-wide
// under the library lock, values kept in each thread's state record.
#pragma once

#include <cstdint>

namespace vxkrn::core {

// A free index, or -1 when every slot is in use.
std::int32_t slot_alloc() noexcept;
// Free an index in use; false for any other. Only the top index gives its
// place in the count back.
bool slot_free(std::int32_t index) noexcept;
// The calling thread's value; null (or false) for an index never handed out.
void *slot_value(std::int32_t index) noexcept;
bool set_slot_value(std::int32_t index, void *value) noexcept;

}  // namespace vxkrn::core
