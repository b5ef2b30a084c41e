#pragma once

/// Plain points, sizes and rectangles of the plane, for T = int, float or double.
template <class T>
struct PointT {
    T x{};
    T y{};
    bool operator==(const PointT&) const = default;
};

template <class T>
struct SizeT {
    T width{};
    T height{};
    bool operator==(const SizeT&) const = default;
};

template <class T>
struct RectT {
    T left{};
    T top{};
    T right{};
    T bottom{};
    bool operator==(const RectT&) const = default;
};
