#pragma once

#include "umlauf/Export.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/pairs/SigPairsTm.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf/visdata/VisData3dObject.h"
#include "umlauf/visdata/VisDataPolygon.h"
#include "umlauf/visdata/VisDataVector.h"

/// From signals to drawable items.
///
/// A conversion replaces the elements of the item and takes both names, x and y unit and colour along, of
/// curves also the axis, the scale factor and the file compression; the ranges are then calculated. Display
/// modes, identification and z unit of the item stay. Of an extended curve (CSigCurveExt) only the valid span
/// is taken, also when it is passed as CSigCurve.
///
/// All return false, with no elements in the item, when there is no memory. They are safe on several threads
/// for different signals and items.
namespace VisData {

/// The samples over their part of the axis.
UMLAUF_API bool Convert(const CSigCurve& from, CVisDataVector& to);
/// The samples rounded to multiples of `step`, which becomes the item's scale factor; 0 counts as 1.
UMLAUF_API bool Convert(const CSigCurve& from, CVisDataIntVector& to, float step);
/// The samples as points at their positions.
UMLAUF_API bool Convert(const CSigCurve& from, CVisDataPolygon& to);
/// The points.
UMLAUF_API bool Convert(const CSigPairs& from, CVisDataPolygon& to);
/// The points, x in seconds since the start of the time range.
UMLAUF_API bool Convert(const CSigPairsTm& from, CVisDataPolygon& to);
/// A section through the curves at an x: their values as points over the array axis.
UMLAUF_API bool Convert(const CSigCurveArray& from, CVisDataPolygon& to, float x);
/// n equidistant samples from the first to the last x of sorted points, on the straight lines between them.
/// False, and no samples, also for points that are not sorted.
UMLAUF_API bool Convert(const CSigPairs& from, CVisDataVector& to, std::uint64_t n);
/// The same rounded to multiples of `step`, as for curves.
UMLAUF_API bool Convert(const CSigPairs& from, CVisDataIntVector& to, std::uint64_t n, float step);
/// The same of timed points, x in seconds since the start of the time range.
UMLAUF_API bool Convert(const CSigPairsTm& from, CVisDataVector& to, std::uint64_t n);
UMLAUF_API bool Convert(const CSigPairsTm& from, CVisDataIntVector& to, std::uint64_t n, float step);
/// The curve at a position of the array, interpolated between its neighbours; for whole numbers rounded to
/// multiples of `step`.
UMLAUF_API bool Convert(const CSigCurveArray& from, CVisDataVector& to, float position);
UMLAUF_API bool Convert(const CSigCurveArray& from, CVisDataIntVector& to, float position, float step);
/// The curves as rows at their positions, on the common x axis of the array where theirs differ; z unit and
/// range are those of the array axis. Values outside a curve's valid span are 0.
UMLAUF_API bool Convert(const CSigCurveArray& from, CVisDataArray& to);
/// `rows` equidistant rows from the first to the last position, interpolated between the curves.
UMLAUF_API bool Convert(const CSigCurveArray& from, CVisDataGrid& to, std::uint64_t rows);

/// Appends the samples of a curve as a row at a z, for example the time of the curve. The first row of an
/// empty item gives it names, x and y unit, colour and axis; further rows must have the same length and axis
/// (both ends closer than a thousandth of a step), else false and nothing changes. The ranges are not
/// calculated, call `CalcRange` behind the last row.
UMLAUF_API bool AppendRow(CVisDataArray& to, const CSigCurve& from, float z);
/// Likewise as the next row of a grid.
UMLAUF_API bool AppendRow(CVisDataGrid& to, const CSigCurve& from);
/// The same of n equidistant samples of points, as for vectors; timed ones over seconds.
UMLAUF_API bool AppendRow(CVisDataArray& to, const CSigPairs& from, std::uint64_t n, float z);
UMLAUF_API bool AppendRow(CVisDataArray& to, const CSigPairsTm& from, std::uint64_t n, float z);
UMLAUF_API bool AppendRow(CVisDataGrid& to, const CSigPairs& from, std::uint64_t n);
UMLAUF_API bool AppendRow(CVisDataGrid& to, const CSigPairsTm& from, std::uint64_t n);

}  // namespace VisData
