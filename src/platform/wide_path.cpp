// UTF-32 (UTF-16 where wchar_t is 16 bits) to UTF-8 and back, strictly:
// surrogates, values above U+10FFFF and overlong forms are rejected.
#include "platform/wide_path.h"

#include <climits>
#include <cstdint>
#include <cwchar>

#include "platform/heap.h"

namespace vxkrn::platform {
namespace {

constexpr std::uint32_t kInvalid = 0xFFFFFFFFu;

// Next scalar value of a wide string; advances *p. kInvalid for bad input.
std::uint32_t next_scalar(const wchar_t *&p) noexcept {
  std::uint32_t c = static_cast<std::uint32_t>(*p++);
  if constexpr (WCHAR_MAX <= 0xFFFF) {
    c &= 0xFFFFu;
    if (c >= 0xD800 && c <= 0xDBFF) {
      std::uint32_t low = static_cast<std::uint32_t>(*p) & 0xFFFFu;
      if (low < 0xDC00 || low > 0xDFFF) return kInvalid;
      ++p;
      return 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
    }
  }
  if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) return kInvalid;
  return c;
}

std::size_t encoded_length(std::uint32_t c) noexcept {
  return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

char *encode(std::uint32_t c, char *out) noexcept {
  auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
  switch (encoded_length(c)) {
    case 1:
      put(c);
      break;
    case 2:
      put(0xC0 | (c >> 6));
      put(0x80 | (c & 0x3F));
      break;
    case 3:
      put(0xE0 | (c >> 12));
      put(0x80 | ((c >> 6) & 0x3F));
      put(0x80 | (c & 0x3F));
      break;
    default:
      put(0xF0 | (c >> 18));
      put(0x80 | ((c >> 12) & 0x3F));
      put(0x80 | ((c >> 6) & 0x3F));
      put(0x80 | (c & 0x3F));
  }
  return out;
}

// Next scalar value of UTF-8 input; advances *p. kInvalid for bad input.
std::uint32_t decode(const unsigned char *&p) noexcept {
  std::uint32_t lead = *p++;
  if (lead < 0x80) return lead;
  int extra;
  std::uint32_t c, min;
  if ((lead & 0xE0) == 0xC0) {
    extra = 1, c = lead & 0x1F, min = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, c = lead & 0x0F, min = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, c = lead & 0x07, min = 0x10000;
  } else {
    return kInvalid;
  }
  for (int i = 0; i < extra; ++i) {
    if ((*p & 0xC0) != 0x80) return kInvalid;
    c = (c << 6) | (*p++ & 0x3F);
  }
  if (c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return kInvalid;
  return c;
}

}  // namespace

std::size_t utf8_length(const wchar_t *wide) noexcept {
  std::size_t n = 0;
  while (*wide) {
    std::uint32_t c = next_scalar(wide);
    if (c == kInvalid) return SIZE_MAX;
    n += encoded_length(c);
  }
  return n;
}

bool wide_to_utf8(const wchar_t *wide, char *out, std::size_t out_size) noexcept {
  if (out_size == 0) return false;
  std::size_t n = utf8_length(wide);
  if (n == SIZE_MAX || n >= out_size) {
    out[0] = '\0';
    return false;
  }
  while (*wide)
    out = encode(next_scalar(wide), out);
  *out = '\0';
  return true;
}

bool utf8_to_wide(const char *utf8, wchar_t *out, std::size_t out_chars) noexcept {
  if (out_chars == 0) return false;
  auto *p = reinterpret_cast<const unsigned char *>(utf8);
  std::size_t n = 0;
  while (*p) {
    std::uint32_t c = decode(p);
    bool pair = WCHAR_MAX <= 0xFFFF && c >= 0x10000;
    if (c == kInvalid || n + (pair ? 2 : 1) >= out_chars) {
      out[0] = L'\0';
      return false;
    }
    if (pair) {
      out[n++] = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
      out[n++] = static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      out[n++] = static_cast<wchar_t>(c);
    }
  }
  out[n] = L'\0';
  return true;
}

Utf8Path::Utf8Path(const wchar_t *wide) noexcept {
  if (!wide) return;
  std::size_t n = utf8_length(wide);
  if (n == SIZE_MAX) return;
  text_ = static_cast<char *>(rt_alloc(n + 1));
  if (text_) wide_to_utf8(wide, text_, n + 1);
}

Utf8Path::~Utf8Path() {
  rt_free(text_);
}

}  // namespace vxkrn::platform
