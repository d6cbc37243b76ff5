// Wide-character paths to and from the UTF-8 the host file system takes.
// The conversion is the library's own, never the process locale's.
#pragma once

#include <cstddef>

namespace vxkrn::platform {

// UTF-8 length of a wide string (without terminator), or SIZE_MAX when it
// holds a value that is not a Unicode scalar value.
std::size_t utf8_length(const wchar_t *wide) noexcept;

// Encode into out (out_size bytes including the terminator). False when the
// string is invalid or does not fit; out is then an empty string.
bool wide_to_utf8(const wchar_t *wide, char *out, std::size_t out_size) noexcept;

// Decode UTF-8 into out (out_chars wide characters including the
// terminator). False on malformed input or when it does not fit.
bool utf8_to_wide(const char *utf8, wchar_t *out, std::size_t out_chars) noexcept;

// A wide path converted once for a system call; c_str() is null when the
// path is null, invalid, or memory ran out. Those fail like a missing file.
class Utf8Path {
 public:
  explicit Utf8Path(const wchar_t *wide) noexcept;
  ~Utf8Path();
  Utf8Path(const Utf8Path &) = delete;
  Utf8Path &operator=(const Utf8Path &) = delete;
  const char *c_str() const { return text_; }

 private:
  char *text_ = nullptr;
};

}  // namespace vxkrn::platform
