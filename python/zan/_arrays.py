"""From what callers have to arrays that the module takes, without a copy where the numbers are fit as they are."""

from __future__ import annotations

import math
import operator
from typing import Any, NamedTuple, Optional, Union

import numpy as np
import numpy.typing as npt


class PointCloud(NamedTuple):
    """Points (n, 3) of float64 and their colours (n, 4) of uint8, None if there are none.

    Goes into `reconstruct` and the other calls in place of an array of points.
    """

    points: npt.NDArray[np.float64]
    colors: Optional[npt.NDArray[np.uint8]]


Points = Union[npt.ArrayLike, PointCloud]


def real_table(values: npt.ArrayLike, name: str) -> np.ndarray:
    """An array (n, 3) of float32 or float64, of any strides; the given one if it is one."""
    table = np.asarray(values)
    if table.ndim != 2 or table.shape[1] != 3:
        raise ValueError(f"{name} must have the shape (n, 3), not {table.shape}")
    if table.dtype.kind not in "fiu":
        raise ValueError(f"{name} must be real numbers, not {table.dtype}")
    if table.dtype.kind != "f" or table.itemsize not in (4, 8) or not table.dtype.isnative:
        table = table.astype(np.float64)
    return table


def index_table(values: npt.ArrayLike, name: str) -> np.ndarray:
    """An array (m, 3) of int32 or int64."""
    table = np.asarray(values)
    if table.size == 0:
        table = np.zeros((0, 3), np.int64)
    if table.ndim != 2 or table.shape[1] != 3:
        raise ValueError(f"{name} must have the shape (m, 3), not {table.shape}")
    if table.dtype.kind not in "iu":
        raise ValueError(f"{name} must be whole numbers, not {table.dtype}")
    if table.dtype.kind != "i" or table.itemsize not in (4, 8) or not table.dtype.isnative:
        if table.max() > np.iinfo(np.int64).max:
            raise ValueError(f"{name} holds {table.max()}, which is no index")
        table = table.astype(np.int64)
    return table


def color_table(values: Optional[npt.ArrayLike], num_rows: int) -> Optional[np.ndarray]:
    """An array (n, 4) of uint8. Three columns get an alpha of 255; real numbers are taken as 0 to 1."""
    if values is None:
        return None
    table = np.asarray(values)
    if table.ndim != 2 or table.shape[0] != num_rows or table.shape[1] not in (3, 4):
        raise ValueError(f"colors must have the shape ({num_rows}, 3) or ({num_rows}, 4), not {table.shape}")
    if table.dtype.kind == "f":
        if not ((table >= 0.0) & (table <= 1.0)).all():
            raise ValueError("colors of real numbers must be from 0.0 to 1.0")
        table = np.rint(255.0 * table).astype(np.uint8)
    elif table.dtype.kind in "iu":
        if table.dtype != np.uint8:
            if table.size and (table.min() < 0 or table.max() > 255):
                raise ValueError("colors of whole numbers must be from 0 to 255")
            table = table.astype(np.uint8)
    else:
        raise ValueError(f"colors must be numbers, not {table.dtype}")
    if table.shape[1] == 3:
        table = np.concatenate([table, np.full((num_rows, 1), 255, np.uint8)], axis=1)
    return table


def cloud_tables(
    points: Points, colors: Optional[npt.ArrayLike]
) -> tuple[np.ndarray, Optional[np.ndarray]]:
    """Points and colours as above; a PointCloud brings its own colours, unless others are given."""
    if isinstance(points, PointCloud):
        points, colors = points.points, points.colors if colors is None else colors
    table = real_table(points, "points")
    return table, color_table(colors, len(table))


def real(value: Any, name: str, *, above: float = -math.inf, allow_inf: bool = False) -> float:
    """A number above a bound, finite if it is not said otherwise."""
    try:
        number = float(value)
    except (TypeError, ValueError):
        raise ValueError(f"{name} must be a number, not {value!r}") from None
    if math.isnan(number) or (math.isinf(number) and not allow_inf):
        raise ValueError(f"{name} must be finite, not {number}")
    if not number > above:
        raise ValueError(f"{name} must be above {above:g}, not {number:g}")
    return number


def whole(value: Any, name: str, *, low: int = 0, high: int = 2**31 - 1) -> int:
    """A whole number from low to high."""
    try:
        number = operator.index(value)
    except TypeError:
        raise ValueError(f"{name} must be a whole number, not {value!r}") from None
    if not low <= number <= high:
        raise ValueError(f"{name} must be from {low} to {high}, not {number}")
    return number


def callable_or_none(progress: Any) -> Any:
    if progress is not None and not callable(progress):
        raise TypeError(f"progress must be callable, not {type(progress).__name__}")
    return progress
