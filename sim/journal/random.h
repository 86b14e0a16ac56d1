#pragma once

#include <cstdint>

/* Reproducible random numbers. */
namespace kvnsim {

/* The next number of the sequence with this state as its seed: 64 random bits. The same on every
 * machine and in every version, so that a seed identifies a run. */
inline uint64_t next_random(uint64_t &state)
{
    state += 0x9e3779b97f4a7c15;
    uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
    return mixed ^ (mixed >> 31);
}

} // namespace kvnsim
