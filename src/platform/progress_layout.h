// Where the parts of the progress window lie, in pixels. Everything is measured in the layout unit
// u, which follows the system's dialog font; fractions of it are cut toward zero.
#pragma once

namespace zatlib::platform {

struct Box {
  int left;
  int top;
  int width;
  int height;
  constexpr int right() const { return left + width; }
  constexpr int bottom() const { return top + height; }
  friend constexpr bool operator==(const Box&, const Box&) = default;
};

constexpr int Units(double units, int u) { return static_cast<int>(units * u); }

// The unit: a line of the dialog font (height and external leading) and the room that the frame of
// a dialog takes.
constexpr int LayoutUnit(int text_height, int external_leading, int frame_height) {
  return text_height + external_leading + static_cast<int>(2.5 * frame_height);
}

constexpr int ClientWidth(int u) { return 15 * u; }
constexpr int ClientHeight(int u) { return Units(7.1, u); }

// The parts of a client area of the given width.
constexpr Box StatusBox(int u, int width) {
  return {Units(1.25, u), Units(1.25, u), width - Units(2.5, u), Units(2.25, u)};
}
constexpr Box BarBox(int u, int width) { return {u - 1, 4 * u - 1, width - 2 * u + 2, u + 2}; }
constexpr Box CancelBox(int u, int width) {
  return {(width - 5 * u) / 2, Units(5.5, u), 5 * u, Units(1.2, u)};
}
// The sunken area around the status line.
constexpr Box FrameBox(int u, int width) { return {u, u, width - 2 * u, Units(3.5, u) - u}; }

// The place of `window` in the middle of `reference`, moved into the work area of the desktop:
// right and down first, then left and up. A window larger than the work area ends at its right and
// lower edge.
constexpr Box CentredBox(const Box& window, const Box& reference, const Box& work_area) {
  Box box = window;
  box.left = reference.left + reference.width / 2 - window.width / 2;
  box.top = reference.top + reference.height / 2 - window.height / 2;
  if (box.left < work_area.left) box.left = work_area.left;
  if (box.top < work_area.top) box.top = work_area.top;
  if (box.right() > work_area.right()) box.left = work_area.right() - box.width;
  if (box.bottom() > work_area.bottom()) box.top = work_area.bottom() - box.height;
  return box;
}

}  // namespace zatlib::platform
