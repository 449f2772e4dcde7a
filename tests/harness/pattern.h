#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Bytes that look random and are told by a seed and their offset alone: any part of a large body
/// can be made without the rest, and a part in the wrong place never passes for the right one.
void fill_pattern(std::uint64_t seed, std::uint64_t offset, char* into, std::size_t size);
std::string pattern(std::uint64_t size, std::uint64_t seed = 1, std::uint64_t offset = 0);
