#pragma once

#include <cstdint>

using KVImageState = std::int32_t;

enum : KVImageState {
    KVImageStateRemoved = -1,
    KVImageStateNormal = 0,
    KVImageStateSelected = 1,
    KVImageStateEtalon = 2,
};
