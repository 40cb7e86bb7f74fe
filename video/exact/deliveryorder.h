#pragma once

#include "video/exact/picturewindow.h"

#include <cstdint>
#include <vector>

/// The pictures from `anchor` on, in the order in which the decoder delivers them: the anchor first. Those that are
/// decoded behind it and delivered before it are left out.
[[nodiscard]] std::vector<std::int64_t> deliveryOrder(const PictureWindow &window, std::int64_t anchor);

/// Looks for what cannot be right in the first `count` pictures of a delivery order, and doubts the packets there:
/// two pictures in one place; a picture that would be delivered before it was decoded; display times that do not rise
/// steadily. `delay`: pictures that the decoder is given between one picture and its delivery, where none is reordered.
void judgeOrder(PictureWindow &window, const std::vector<std::int64_t> &order, std::size_t count, std::int64_t delay);
