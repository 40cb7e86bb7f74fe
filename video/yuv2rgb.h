#pragma once

/// Converts one pixel from full-range BT.709 luma and chroma to RGB.
///
/// `y`, `u`, `v`: 0 to 255, `u` and `v` centred on 127. `r`, `g`, `b`: at most 255; a channel that lies below
/// black comes out negative, down to -235, and is the caller's to clamp or to wrap.
/// The result is the same to the last bit on every machine.
void yuv2rgb(int y, int u, int v, int &r, int &g, int &b);
