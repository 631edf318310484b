"""Ordinary work with NumPy and SciPy: every result is held to a bound here, those that sound providers of the BLAS
agree on up to rounding are also written to a file, and nothing hangs in threads, forks and pools.

    scientific.py OUTPUT.npz

Bounds are in units of eps times the magnitudes that went in: a sum of k products is within k + 2 of them (Higham 2002,
ch. 3); the backward errors of LAPACK's solvers within a small multiple of n (Anderson et al. 1999, ch. 4), here 10 n.
"""
import multiprocessing
import os
import sys
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import scipy.linalg as sl
import scipy.sparse as sp
import scipy.sparse.linalg as spl

results = {}
rng = np.random.default_rng(7)


def numbers(shape, dtype):
    x = rng.standard_normal(shape)
    if np.dtype(dtype).kind == "c":
        x = x + 1j * rng.standard_normal(shape)
    return x.astype(dtype)


def eps(a):
    return np.finfo(a.dtype).eps


def holds(what, error, bound):
    assert np.all(error <= bound), f"{what}: error {np.max(error)}, bound {np.min(bound)}"


def small(what, residual, *factors):
    """A residual beside the norms of what it came from."""
    n = max(max(f.shape) for f in factors)
    holds(what, np.linalg.norm(residual), 10 * n * eps(factors[0]) * np.prod([np.linalg.norm(f) for f in factors]))


def products(t):
    wide = np.clongdouble if np.dtype(t).kind == "c" else np.longdouble
    units = 8 if np.dtype(t).kind == "c" else 2     # a complex product has four real ones
    for m, k, n in ((1, 1, 1), (3, 7, 2), (5, 300, 1), (1, 40, 9), (33, 65, 17), (130, 129, 131), (257, 4, 300)):
        a, b = numbers((2 * m, 3 * k), t), numbers((2 * k, 3 * n), t)
        for left in (a[:m, :k], a[::2, ::3], a[m - 1::-1, :k], np.asfortranarray(a[:m, :k]), a[:m, :k].conj()):
            for right in (b[:k, :n], b[::2, ::3], np.ascontiguousarray(b[:k, :n].T).T):
                gauge = np.abs(left).astype(float) @ np.abs(right).astype(float)
                exact = np.einsum("ij,jk->ik", left.astype(wide), right.astype(wide))
                holds("product", np.abs(left @ right - exact), units * (k + 2) * eps(a) * gauge)
        v = a[:m, :k][:, ::-1] @ b[:k, 0]
        holds("matrix by vector", np.abs(v - a[:m, :k][:, ::-1].astype(wide) @ b[:k, 0].astype(wide)),
              units * (k + 2) * eps(a) * (np.abs(a[:m, :k])[:, ::-1].astype(float) @ np.abs(b[:k, 0]).astype(float)))
    a = numbers((90, 40), t)
    small("A A^T", a @ a.T - np.einsum("ik,jk->ij", a, a), a, a)


def decompositions(t):
    n = 120
    a, b = numbers((n, n), t), numbers((n, 3), t)
    x = np.linalg.solve(a, b)
    small("solve", a @ x - b, a, x)
    small("solve, transposed", a.T @ sl.lu_solve(sl.lu_factor(a), b, trans=1) - b, a, x)
    q, r = np.linalg.qr(a)
    small("QR", q @ r - a, a)
    small("orthogonal", q.conj().T @ q - np.eye(n, dtype=t), q)
    u, s, v = sl.svd(a)
    small("SVD", (u * s) @ v - a, a)
    h = a + a.conj().T
    w, z = np.linalg.eigh(h)
    small("symmetric eigenproblem", h @ z - z * w, h)
    p = a @ a.conj().T + n * np.eye(n, dtype=t)
    c = np.linalg.cholesky(p)
    small("Cholesky", c @ c.conj().T - p, p)
    g, y = sl.eigh(h, p)[0], sl.eigh(h, p)[1]
    small("generalised eigenproblem", h @ y - (p @ y) * g, p, y)
    w2, z2 = np.linalg.eig(a)
    small("general eigenproblem", a @ z2 - z2 * w2, a, z2)
    tall, rhs = numbers((200, 50), t), numbers((200, 2), t)
    y = np.linalg.lstsq(tall, rhs, rcond=None)[0]
    small("least squares", tall.conj().T @ (tall @ y - rhs), tall, tall, rhs)
    lower = np.tril(p)
    y = sl.solve_triangular(lower, b, lower=True)
    small("triangular solve", lower @ y - b, lower, y)
    # Perturbation theory lets these move by no more than the norm of the backward error (Weyl).
    name = np.dtype(t).name
    results[f"{name} singular values"], results[f"{name} eigenvalues"] = s, w
    results[f"{name} norms"] = np.array([np.linalg.norm(a), np.linalg.norm(h)])


def sparse_direct(t):
    n = 400
    a = sp.random(n, n, 0.02, random_state=3, format="csc", dtype=float).astype(t) + sp.eye(n, dtype=t) * 4
    b = numbers((n, 2), t)
    for solver in (lambda r: spl.spsolve(a, r), lambda r: spl.splu(a).solve(r)):
        x = solver(b)
        small("sparse direct solve", a @ x - b, a.toarray(), x)


def threaded_product(seed=0):
    a = np.random.default_rng(seed).standard_normal((200, 200))
    return a @ a.T


def in_threads_and_children():
    """The same bits from anywhere, also in children made after the library ran on threads."""
    wanted = threaded_product()
    with ThreadPoolExecutor(4) as pool:
        assert all(np.array_equal(x, wanted) for x in pool.map(threaded_product, [0] * 12)), "threads"
    child = os.fork()
    if child == 0:
        os._exit(0 if np.array_equal(threaded_product(), wanted) else 1)
    assert os.waitpid(child, 0)[1] == 0, "fork"
    for method in ("fork", "spawn"):
        with multiprocessing.get_context(method).Pool(2) as pool:
            assert all(np.array_equal(x, wanted) for x in pool.map(threaded_product, [0] * 6)), method


def main():
    for t in (np.float32, np.float64, np.complex64, np.complex128):
        products(t)
        decompositions(t)
        sparse_direct(t)
    in_threads_and_children()
    with open("/proc/self/maps") as maps:
        print(*sorted({line.split()[-1] for line in maps if "blas" in line or "libvrn" in line}), sep="\n")
    np.savez(sys.argv[1], **results)


if __name__ == "__main__":
    main()
