"""The public BLAS as one table: what the 64-bit and the 32-bit entries and the header are generated from.

A routine is its name without the type prefix, the type prefixes it exists in, its arguments in published order,
the mathematics, and what is checked. Argument names fix their kinds:

    m n k lda ldb ldc incx incy     integers
    transa transb                   option letters
    alpha beta c s sb               scalars
    a b c! x y z                    arrays; a `!` behind the name marks one that is written

Checks are (argument, condition that makes it bad), in published order; the published number is the argument's
place in the list.
"""

# What a type prefix means: element, scalar and result type.
S, D, C, Z = "float", "double", "vrn_complex8", "vrn_complex16"
PREFIXES = {
    "s": (S, S, S), "d": (D, D, D), "c": (C, C, C), "z": (Z, Z, Z),
    "cs": (C, S, S), "zd": (Z, D, D),   # complex vector, real scalar
    "sc": (C, S, S), "dz": (Z, D, D),   # complex vector, real result
    "sds": (S, S, S), "ds": (S, D, D),  # single vectors, sum in double
    "is": (S, S, "int"), "id": (D, D, "int"), "ic": (C, S, "int"), "iz": (Z, D, "int"),
}

INTEGERS = {"m", "n", "k", "lda", "ldb", "ldc", "incx", "incy"}
OPTIONS = {"transa", "transb"}
SCALARS = {"alpha", "beta", "c", "s", "sb"}


class Routine:
    def __init__(self, name, prefixes, arguments, doc, *, result=None, guard=None, kernel=None, real=(), checks=(),
                 driver=None):
        self.name, self.prefixes, self.arguments, self.doc = name, prefixes.split(), arguments.split(), doc
        self.result = result    # None, "real" (returned), "complex" (through a hidden first pointer), "index"
        self.guard = guard      # a condition under which the published routine does nothing or returns 0
        self.kernel = kernel    # the back-end's routine where its name differs
        self.real = set(real)   # scalars that stay real for complex vectors
        self.checks = checks
        self.driver = driver    # host function that takes the checked arguments instead of a kernel


BAD_STRIDE = "*incx < 1"

ROUTINES = [
    Routine("axpy", "s d c z", "n alpha x incx y! incy", "y := alpha x + y"),
    Routine("axpby", "s d c z", "n alpha x incx beta y! incy",
            "y := alpha x + beta y; with beta zero y is written and not read"),
    Routine("copy", "s d c z", "n x incx y! incy", "y := x"),
    Routine("swap", "s d c z", "n x! incx y! incy", "x and y change places"),
    Routine("scal", "s d c z cs zd", "n alpha x! incx", "x := alpha x; nothing for incx < 1",
            guard=BAD_STRIDE),
    Routine("dot", "s d", "n x incx y incy", "the sum of x_i y_i", result="real"),
    Routine("dotu", "c z", "n x incx y incy", "the sum of x_i y_i", result="complex"),
    Routine("dotc", "c z", "n x incx y incy", "the sum of conj(x_i) y_i", result="complex"),
    Routine("dot", "sds", "n sb x incx y incy", "sb plus the sum of x_i y_i, summed in double, rounded once",
            result="real"),
    Routine("dot", "ds", "n x incx y incy", "the sum of x_i y_i in double", result="real"),
    Routine("nrm2", "s d sc dz", "n x incx", "the Euclidean norm of x; 0 for incx < 1", result="real",
            guard=BAD_STRIDE),
    Routine("asum", "s d sc dz", "n x incx",
            "the sum of |x_i|, for complex x of |re x_i| + |im x_i|; 0 for incx < 1", result="real",
            guard=BAD_STRIDE),
    Routine("amax", "is id ic iz", "n x incx",
            "the one-based index of the first element of largest |x_i|, for complex x of |re x_i| + |im x_i|; "
            "0 for n < 1 or incx < 1", result="index"),
    Routine("amin", "is id ic iz", "n x incx",
            "the one-based index of the first element of smallest |x_i|, for complex x of |re x_i| + |im x_i|; "
            "0 for n < 1 or incx < 1", result="index"),
    Routine("rot", "s d", "n x! incx y! incy c s", "(x_i, y_i) := (c x_i + s y_i, c y_i - s x_i)"),
    Routine("rot", "cs zd", "n x! incx y! incy c s",
            "(x_i, y_i) := (c x_i + s y_i, c y_i - s x_i) with real c and s"),
    Routine("rot", "c z", "n x! incx y! incy c s",
            "(x_i, y_i) := (c x_i + s y_i, c y_i - conj(s) x_i) with real c and complex s", real=["c"]),
    Routine("cabs1", "s d", "z", "|re z| + |im z| of one complex number", result="real"),

    Routine("gemm", "s d", "transa transb m n k alpha a lda b ldb beta c! ldc",
            "C := alpha op(A) op(B) + beta C, op(A) m by k, op(B) k by n, C m by n, column-major; with beta zero "
            "C is written and not read",
            checks=[("transa", "!is_option(transa)"), ("transb", "!is_option(transb)"),
                    ("m", "*m < 0"), ("n", "*n < 0"), ("k", "*k < 0"),
                    ("lda", "*lda < at_least_one(is_normal(transa) ? *m : *k)"),
                    ("ldb", "*ldb < at_least_one(is_normal(transb) ? *k : *n)"),
                    ("ldc", "*ldc < at_least_one(*m)")],
            driver="gemm"),
]
