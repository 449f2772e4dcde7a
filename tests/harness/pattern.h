#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Bytes that look random and depend only on a seed and their offset: any part of a large body can
/// be generated without the rest, and a part at the wrong offset is always detected.
void fill_pattern(std::uint64_t seed, std::uint64_t offset, char* into, std::size_t size);
std::string pattern(std::uint64_t size, std::uint64_t seed = 1, std::uint64_t offset = 0);
