#pragma once

#include <cstdint>

/* Chance that can be had again. */
namespace kvnsim {

/* The next number of the sequence that began with this state as its seed: 64 bits, each as good as
 * any other. The same on every machine and in every version, so that a seed names a run. */
inline uint64_t next_random(uint64_t &state)
{
    state += 0x9e3779b97f4a7c15;
    uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
    return mixed ^ (mixed >> 31);
}

} // namespace kvnsim
