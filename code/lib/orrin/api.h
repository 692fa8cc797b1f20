#pragma once
// Symbols of the media library's public surface; everything else in libOrrin is hidden.

#define ORRIN_API __attribute__((visibility("default")))
