#pragma once

/// The place of a bar in its row, in pixels at scale 1.
struct BarSpan {
    double left;
    double width;
};

/// Bar \p i of \p bars equally wide ones that fill \p width, \p gap apart. Edges lie on whole
/// pixels of the device, so that gaps are sharp and all the same. No width: there is no room.
BarSpan barSpan(int i, int bars, double gap, double width, double pixelRatio);
