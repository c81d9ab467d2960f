// Subsystem: mesh on codes. Builds on: nothing. Used by: Casx.
// The data of the case table: what is drawn in one representative of each class of cube configurations. All
// other rows are rotations of these.
#pragma once

#include <array>
#include <string_view>

namespace TESK_ZAN
{

// Codes are byte masks of three cells, in slot order, 0 behind the last one. uses has one letter for each
// slot of the fat row: T for TUT, F for TUF, I for TUI.
struct CasxBaseRow {
    int config;
    std::array<int, 10> fat;
    std::string_view uses;
    std::array<int, 6> thin;
};

inline constexpr std::array<CasxBaseRow, 23> CASX_BASE_ROWS = {{
    {0, {}, "", {}},
    {1, {}, "", {}},
    {3, {}, "", {}},
    {5, {}, "", {}},
    {7, {7}, "I", {}},
    {15, {11, 14}, "TT", {11, 14}},
    {20, {}, "", {}},
    {21, {}, "", {}},
    {23, {19, 7}, "TT", {7, 19}},
    {26, {26}, "T", {26}},
    {27, {25, 19, 11, 26}, "IIIF", {11, 19, 25}},
    {29, {13, 25}, "TT", {13, 25}},
    {30, {14, 26}, "TT", {14, 26}},
    {31, {11, 14, 19, 25, 22, 28}, "TTIIFF", {11, 14}},
    {60, {44, 56}, "TT", {44, 56}},
    {61, {44, 56, 25, 37, 49, 13}, "TTTFFF", {25, 44, 56}},
    {63, {11, 14, 35, 49, 25, 38, 28, 52}, "TTTTIIFF", {11, 14, 35, 49}},
    {90, {88, 26, 74, 82}, "TTTT", {26, 74, 82, 88}},
    {91, {82, 74, 88, 19, 25, 11}, "TTTTTT", {26, 74}},
    {95, {11, 14, 69, 81}, "TTTT", {11, 14, 21, 84}},
    {125, {13, 21, 84, 112, 49, 25, 100}, "TTTTIII", {41, 49, 76, 104}},
    {127, {35, 49, 38, 100, 11, 14, 25, 76, 112, 88}, "TTTTTTIIIF", {11, 14, 35, 38, 49, 100}},
    {255, {}, "", {}},
}};

} // namespace TESK_ZAN
