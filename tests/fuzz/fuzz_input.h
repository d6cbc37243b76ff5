// Fuzz input read as a stream of small values; past its end every value
// reads as 0, so a harness never has to check the length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class FuzzInput {
 public:
  FuzzInput(const std::uint8_t *data, std::size_t size) : data_(data), size_(size) {}
  std::uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
  std::uint16_t u16() { return static_cast<std::uint16_t>(byte() | byte() << 8); }
  std::uint32_t u32() { return u16() | static_cast<std::uint32_t>(u16()) << 16; }
  bool empty() const { return at_ >= size_; }
  // The bytes not read yet.
  std::vector<std::uint8_t> rest() {
    std::vector<std::uint8_t> out(data_ + (at_ < size_ ? at_ : size_), data_ + size_);
    at_ = size_;
    return out;
  }

 private:
  const std::uint8_t *data_;
  std::size_t size_, at_ = 0;
};
