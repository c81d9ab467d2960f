"""Clouds and triangles that numpy knows everything about."""

import numpy as np


def sphere(num_points=3000):
    """Even points on the unit sphere, on a spiral."""
    i = np.arange(num_points)
    z = 1.0 - (2.0 * i + 1.0) / num_points
    angle = i * np.pi * (3.0 - np.sqrt(5.0))
    ring = np.sqrt(1.0 - z * z)
    return np.stack([ring * np.cos(angle), ring * np.sin(angle), z], axis=1)


def sheet(num_side=40):
    """A flat square grid of step 1."""
    x, y = np.meshgrid(np.arange(num_side, dtype=float), np.arange(num_side, dtype=float))
    return np.stack([x.ravel(), y.ravel(), np.zeros(x.size)], axis=1)


def cube():
    """The unit cube: 8 vertices, 12 triangles, normals outward."""
    vertices = np.array([[x, y, z] for x in (0, 1) for y in (0, 1) for z in (0, 1)], dtype=float)
    quads = [(0, 1, 3, 2), (4, 6, 7, 5), (0, 4, 5, 1), (2, 3, 7, 6), (0, 2, 6, 4), (1, 5, 7, 3)]
    return vertices, np.array([t for a, b, c, d in quads for t in ((a, b, c), (a, c, d))])


def volume(vertices, triangles):
    a, b, c = (vertices[triangles[:, k]] for k in range(3))
    return np.einsum("ij,ij->", a, np.cross(b, c)) / 6.0


def area(vertices, triangles):
    a, b, c = (vertices[triangles[:, k]] for k in range(3))
    return 0.5 * np.linalg.norm(np.cross(b - a, c - a), axis=1).sum()


def edge_counts(triangles):
    """Each edge once, and how many triangles have it."""
    edges = np.sort(triangles[:, [0, 1, 1, 2, 2, 0]].reshape(-1, 2), axis=1)
    return np.unique(edges, axis=0, return_counts=True)


def euler_number(vertices, triangles):
    return len(vertices) - len(edge_counts(triangles)[0]) + len(triangles)


def rows(table):
    return {tuple(row) for row in table.tolist()}
