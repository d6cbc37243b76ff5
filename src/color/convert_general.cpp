// The general converter: for every pair of formats one loop that reads a
// pixel with the source codec, applies the rule of the two domains, and
// writes it with the destination codec. The pair is chosen once per call
// through a table; nothing inside a loop depends on the formats.
#include <array>
#include <utility>

#include "color/convert_engine.h"

namespace vxkrn::color {
namespace {

template <Format F>
constexpr Domain domain_of = traits(F).domain;

// gray8 of a gray source value already read through its range.
template <Format S>
uint32_t gray8_of(uint64_t v, const ConvertContext &c) {
  if constexpr (S == Format::Gray8)
    return static_cast<uint32_t>(v);
  else
    return static_cast<uint32_t>(v * 255 / c.src.mask);
}

// The rule of a domain pair, on one pixel.
template <Format S, Format D>
typename Codec<D>::Value apply(typename Codec<S>::Value v, const ConvertContext &c) {
  constexpr Domain from = domain_of<S>, to = domain_of<D>;
  if constexpr (from == Domain::Palette) {
    if constexpr (to == Domain::Color)
      return c.colors[v];
    else
      return c.table[v];  // index map, or the entry's gray output
  } else if constexpr (from == Domain::Gray) {
    const uint64_t g = (uint64_t{v} >> c.src.low) & c.src.mask;
    if constexpr (to == Domain::Palette) {
      return c.table[gray8_of<S>(g, c)];
    } else if constexpr (to == Domain::Gray) {
      if constexpr (S == Format::Gray8)
        return c.gray_out[g];
      else
        return static_cast<uint32_t>(g * c.dst.mask / c.src.mask) << c.dst.low;
    } else {
      uint16_t sample;
      if constexpr (!traits(D).wide_samples)
        sample = widen(gray8_of<S>(g, c));
      else if constexpr (S == Format::Gray8)
        sample = widen(static_cast<uint32_t>(g));
      else
        sample = static_cast<uint16_t>(g * 65535 / c.src.mask);
      return Rgba16{sample, sample, sample, c.alpha_fill};
    }
  } else {
    if constexpr (to == Domain::Palette) {
      return c.search->find(narrow(v.r), narrow(v.g), narrow(v.b));
    } else if constexpr (to == Domain::Gray) {
      return c.gray_out[gray8(narrow(v.r), narrow(v.g), narrow(v.b))];
    } else {
      if constexpr (!traits(S).alpha) v.a = c.alpha_fill;
      return v;
    }
  }
}

template <Format S, Format D>
void convert_pair(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  using Src = Codec<S>;
  using Dst = Codec<D>;
  if (c.backward) {
    for (uint64_t i = width; i-- > 0;)
      Dst::write(buffer, i, c.dst, apply<S, D>(Src::read(buffer, i, c.src), c));
  } else {
    for (uint64_t i = 0; i < width; ++i)
      Dst::write(buffer, i, c.dst, apply<S, D>(Src::read(buffer, i, c.src), c));
  }
}

using PairFn = void (*)(uint8_t *, uint64_t, const ConvertContext &);

template <std::size_t S, std::size_t... D>
constexpr std::array<PairFn, kFormatCount> row_of(std::index_sequence<D...>) {
  return {&convert_pair<static_cast<Format>(S), static_cast<Format>(D)>...};
}

template <std::size_t... S>
constexpr std::array<std::array<PairFn, kFormatCount>, kFormatCount> table_of(
    std::index_sequence<S...>) {
  return {row_of<S>(std::make_index_sequence<kFormatCount>())...};
}

constexpr auto kPairs = table_of(std::make_index_sequence<kFormatCount>());

}  // namespace

void convert_general(uint8_t *buffer, uint64_t width, const ConvertContext &c) noexcept {
  kPairs[static_cast<int>(c.src.format)][static_cast<int>(c.dst.format)](buffer, width, c);
}

}  // namespace vxkrn::color
