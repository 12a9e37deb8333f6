// What the files of the extension share: its parts, errors as exceptions, arrays as spans.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Status.h"
#include "quel/base/Vectors.h"

namespace quelpython {

namespace py = pybind11;

using Doubles = py::array_t<double, py::array::c_style>;
using Bytes = py::array_t<std::uint8_t, py::array::c_style>;

void bindClouds(py::module_& module);
void bindFormats(py::module_& module);
void bindGeometry(py::module_& module);
void bindHead(py::module_& module);
void bindMeasure(py::module_& module);
void bindStore(py::module_& module);

/// An error on its way to Python, where it becomes `quel.Error`; needs no interpreter, so it may be thrown without the
/// GIL.
struct Failed {
  quel::Error error;
};

/// Text that may come out of a damaged file: what is no UTF-8 becomes U+FFFD.
inline py::str textOf(const std::string& text) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace"));
}

inline py::list textsOf(const std::vector<std::string>& texts) {
  py::list list;
  for (const std::string& text : texts) list.append(textOf(text));
  return list;
}

/// Turns `Failed` into `quel.Error` from now on.
void translateErrors();

template <typename T>
T valueOf(quel::Result<T>&& result) {
  if (!result) throw Failed{result.error()};
  return std::move(result).value();
}

inline void require(const quel::Result<void>& result) {
  if (!result) throw Failed{result.error()};
}

/// The rows of an array of shape (N, Size), in its own memory.
template <typename Vector>
std::span<const Vector> rowsOf(const Doubles& array) {
  return {reinterpret_cast<const Vector*>(array.data()), static_cast<std::size_t>(array.shape(0))};
}

template <typename Vector>
std::span<Vector> rowsOf(Doubles& array) {
  return {reinterpret_cast<Vector*>(array.mutable_data()), static_cast<std::size_t>(array.shape(0))};
}

inline std::span<quel::Status> statusOf(Bytes& array) {
  static_assert(sizeof(quel::Status) == 1);
  return {reinterpret_cast<quel::Status*>(array.mutable_data()), static_cast<std::size_t>(array.shape(0))};
}

/// A copy of a vector or matrix as an array of its shape.
template <std::size_t Size>
Doubles arrayOf(const std::array<double, Size>& vector) {
  return Doubles(static_cast<py::ssize_t>(Size), vector.data());
}

template <std::size_t Rows, std::size_t Columns>
Doubles arrayOf(const std::array<std::array<double, Columns>, Rows>& matrix) {
  return Doubles({static_cast<py::ssize_t>(Rows), static_cast<py::ssize_t>(Columns)}, matrix[0].data());
}

/// An array over the memory of a vector, of shape (N) or (N, Size), which lives as long as the array.
template <typename T, typename Shape>
py::array_t<T> adoptedAs(std::vector<Shape>&& values, std::vector<py::ssize_t> shape) {
  auto kept = std::make_unique<std::vector<Shape>>(std::move(values));
  const T* const data = reinterpret_cast<const T*>(kept->data());
  py::capsule owner(kept.get(), [](void* vector) { delete static_cast<std::vector<Shape>*>(vector); });
  kept.release();
  return py::array_t<T>(std::move(shape), data, owner);
}

template <std::size_t Size>
py::array_t<double> adopted(std::vector<std::array<double, Size>>&& rows) {
  const auto count = static_cast<py::ssize_t>(rows.size());
  return adoptedAs<double>(std::move(rows), {count, static_cast<py::ssize_t>(Size)});
}

inline py::array_t<double> adopted(std::vector<quel::Mat3>&& matrices) {
  const auto count = static_cast<py::ssize_t>(matrices.size());
  return adoptedAs<double>(std::move(matrices), {count, 3, 3});
}

template <typename T>
py::array_t<T> adopted(std::vector<T>&& values) {
  const auto count = static_cast<py::ssize_t>(values.size());
  return adoptedAs<T>(std::move(values), {count});
}

}  // namespace quelpython
