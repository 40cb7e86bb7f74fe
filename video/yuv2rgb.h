#pragma once

/// Converts one pixel from full-range BT.709 luma and chroma to RGB.
///
/// `y`, `u`, `v`: 0 to 255, `u` and `v` centred on 127. `r`, `g`, `b`: at most 255; a channel below black is negative,
/// down to -235, and the caller clamps or wraps it.
/// The result is the same to the last bit on every machine.
void yuv2rgb(int y, int u, int v, int &r, int &g, int &b);
