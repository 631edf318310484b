"""The public BLAS as one table: what the entries in both integer widths, the header, the Fortran and the CBLAS names
are generated from.

A routine is its name without the type prefix, the type prefixes it exists in, its arguments in published order and
the mathematics. Argument names fix their kinds and what is bad about them:

    trans transa transb uplo side diag    option letters, those of OPTIONS unless the row tells its own
    m n k kl ku                           dimensions, not negative
    lda ldb ldc                           leading dimensions, at least 1 and the rows that the row tells
    incx incy incz incw                   strides, not 0
    nz                                    elements of a sparse vector
    indx                                  one-based positions of a sparse vector
    alpha beta c s sb y1                  scalars
    a b c! x y z ap ...                   arrays; a `!` behind the name marks what is written

Level 1 checks nothing (Vector). Levels 2 and 3 (Matrix) check in the order of the arguments, which is the published
one for every routine here; the published number is the argument's place in the list. Dongarra, Du Croz, Hammarling
and Hanson (1988) and Dongarra, Du Croz, Hammarling and Duff (1990).
"""

# What a type prefix means: element, scalar and result type.
S, D, C, Z = "float", "double", "vrn_complex8", "vrn_complex16"
REAL = {S: S, D: D, C: S, Z: D}
PREFIXES = {
    "s": (S, S, S), "d": (D, D, D), "c": (C, C, C), "z": (Z, Z, Z),
    "cs": (C, S, S), "zd": (Z, D, D),   # complex vector, real scalar
    "sc": (C, C, S), "dz": (Z, Z, D),   # complex vector, real result or real matrix
    "sds": (S, S, S), "ds": (S, D, D),  # single vectors, sum in double
    "is": (S, S, "int"), "id": (D, D, "int"), "ic": (C, S, "int"), "iz": (Z, D, "int"),
}

OPTIONS = {"trans": "NTC", "transa": "NTC", "transb": "NTC", "uplo": "UL", "side": "LR", "diag": "UN"}
DIMENSIONS = {"m", "n", "k", "kl", "ku"}
LEADING = {"lda", "ldb", "ldc"}
STRIDES = {"incx", "incy", "incz", "incw"}
INTEGERS = DIMENSIONS | LEADING | STRIDES | {"nz"}
SCALARS = {"alpha", "beta", "c", "s", "sb", "y1"}


class Vector:
    """A routine of level 1: no argument is checked."""
    checks = ()

    def __init__(self, name, prefixes, arguments, doc, *, result=None, guard=None, real="", driver=None, also=None):
        self.name, self.prefixes, self.doc = name, prefixes.split(), doc
        self.written = {a[:-1] for a in arguments.split() if a.endswith("!")}
        self.arguments = arguments.replace("!", "").split()
        self.result = result            # None, "real" (returned), "complex" (through a hidden first pointer), "index"
        self.guard = guard              # the condition of the published early out: nothing is done, the result is 0
        self.real = set(real.split())   # arguments that stay real for complex types
        self.driver = driver            # host function that takes the checked arguments instead of a kernel
        self.also = also                # a second published name


class Matrix(Vector):
    """A routine of level 2 or 3: all arguments are checked. `rows` tells the rows of each stored matrix in the order of
    the leading dimensions; `letters` the option letters that differ from the usual ones."""

    def __init__(self, name, prefixes, arguments, doc, rows=(), *, letters={}, **rest):
        super().__init__(name, prefixes, arguments, doc, **rest)
        self.letters = {a: letters.get(a, OPTIONS[a]) for a in self.arguments if a in OPTIONS}
        rows = [rows] if isinstance(rows, str) else list(rows)
        self.checks = []                # (argument, condition that makes it bad), in published order
        for a in self.arguments:
            if a in OPTIONS:
                self.checks.append((a, f"!is_one_of({a}, \"{self.letters[a]}\")"))
            elif a in DIMENSIONS:
                self.checks.append((a, f"*{a} < 0"))
            elif a in LEADING:
                self.checks.append((a, f"*{a} < at_least_one({rows.pop(0)})"))
            elif a in STRIDES:
                self.checks.append((a, f"*{a} == 0"))
        assert not rows, name


BAD_STRIDE = "*incx < 1"
NO_ELEMENT = "*m == 0 || *n == 0"
UNCHANGED = "(is_zero(*alpha) && is_one(*beta))"
NO_PRODUCT = "((is_zero(*alpha) || *k == 0) && is_one(*beta))"
ROWS_A = "is_normal(transa) ? *m : *k"
ROWS_B = "is_normal(transb) ? *k : *n"
OF_SIDE = "is_left(side) ? *m : *n"
OF_TRANS = "is_normal(trans) ? *n : *k"

ROUTINES = [
    # Level 1.
    Vector("axpy", "s d c z", "n alpha x incx y! incy", "y := alpha x + y"),
    Vector("axpby", "s d c z", "n alpha x incx beta y! incy",
           "y := alpha x + beta y; with beta zero y is written and not read"),
    Vector("copy", "s d c z", "n x incx y! incy", "y := x"),
    Vector("swap", "s d c z", "n x! incx y! incy", "x and y change places"),
    Vector("scal", "s d c z cs zd", "n alpha x! incx", "x := alpha x; nothing for incx < 1", guard=BAD_STRIDE),
    Vector("dot", "s d", "n x incx y incy", "the sum of x_i y_i", result="real"),
    Vector("dotu", "c z", "n x incx y incy", "the sum of x_i y_i", result="complex"),
    Vector("dotc", "c z", "n x incx y incy", "the sum of conj(x_i) y_i", result="complex"),
    Vector("dot", "sds", "n sb x incx y incy", "sb plus the sum of x_i y_i, summed in double, rounded once",
           result="real"),
    Vector("dot", "ds", "n x incx y incy", "the sum of x_i y_i in double", result="real"),
    Vector("nrm2", "s d sc dz", "n x incx", "the Euclidean norm of x; 0 for n < 1", result="real"),
    Vector("asum", "s d sc dz", "n x incx",
           "the sum of |x_i|, for complex x of |re x_i| + |im x_i|; 0 for incx < 1", result="real", guard=BAD_STRIDE),
    Vector("amax", "is id ic iz", "n x incx",
           "the one-based index of the first element of largest |x_i|, for complex x of |re x_i| + |im x_i|; "
           "0 for n < 1 or incx < 1", result="index"),
    Vector("amin", "is id ic iz", "n x incx",
           "the one-based index of the first element of smallest |x_i|, for complex x of |re x_i| + |im x_i|; "
           "0 for n < 1 or incx < 1", result="index"),
    Vector("cabs1", "s d", "z", "|re z| + |im z| of one complex number", result="real"),
    Vector("rot", "s d", "n x! incx y! incy c s", "(x_i, y_i) := (c x_i + s y_i, c y_i - s x_i)"),
    Vector("rot", "cs zd", "n x! incx y! incy c s", "(x_i, y_i) := (c x_i + s y_i, c y_i - s x_i) with real c and s"),
    Vector("rot", "c z", "n x! incx y! incy c s",
           "(x_i, y_i) := (c x_i + s y_i, c y_i - conj(s) x_i) with real c and complex s", real="c"),
    Vector("rotg", "s d", "a! b! c! s!",
           "the rotation that takes (a, b) to (r, 0); a receives r, and b the number that c and s follow from"),
    Vector("rotg", "c z", "a! b c! s!", "the rotation with real c and complex s that takes (a, b) to (r, 0); a "
           "receives r", real="c"),
    Vector("rotm", "s d", "n x! incx y! incy param",
           "(x_i, y_i) := H (x_i, y_i), the modified rotation whose flag and elements h11 h21 h12 h22 are in param"),
    Vector("rotmg", "s d", "d1! d2! x1! y1 param!",
           "the modified rotation that takes (sqrt(d1) x1, sqrt(d2) y1) to (r, 0)"),
    # Level 1 on a sparse vector: the nz values x at the positions indx of y.
    Vector("axpyi", "s d c z", "nz alpha x indx y!", "y(indx_i) := alpha x_i + y(indx_i), in order"),
    Vector("doti", "s d", "nz x indx y", "the sum of x_i y(indx_i)", result="real"),
    Vector("dotui", "c z", "nz x indx y", "the sum of x_i y(indx_i)", result="complex"),
    Vector("dotci", "c z", "nz x indx y", "the sum of conj(x_i) y(indx_i)", result="complex"),
    Vector("gthr", "s d c z", "nz y x! indx", "x_i := y(indx_i)"),
    Vector("gthrz", "s d c z", "nz y! x! indx", "x_i := y(indx_i), which is cleared right after"),
    Vector("sctr", "s d c z", "nz x indx y!", "y(indx_i) := x_i, in order"),
    Vector("roti", "s d", "nz x! indx y! c s",
           "(x_i, y(indx_i)) := (c x_i + s y(indx_i), c y(indx_i) - s x_i)"),

    # Level 2: op(A) is A, its transpose or its conjugate transpose.
    Matrix("gemv", "s d c z", "trans m n alpha a lda x incx beta y! incy", "y := alpha op(A) x + beta y, A m by n",
           "*m", guard=f"{NO_ELEMENT} || {UNCHANGED}"),
    Matrix("gemv", "sc dz", "trans m n alpha a lda x incx beta y! incy",
           "y := alpha op(A) x + beta y, a real A m by n with complex vectors",
           "*m", real="a", guard=f"{NO_ELEMENT} || {UNCHANGED}"),
    Matrix("gem2vu", "s d", "m n alpha a lda x incx y incy beta z! incz w! incw",
           "z := alpha A x + beta z and w := alpha A^T y + beta w, A m by n", "*m", guard=NO_ELEMENT),
    Matrix("gem2vc", "c z", "m n alpha a lda x incx y incy beta z! incz w! incw",
           "z := alpha A x + beta z and w := alpha A^H y + beta w, A m by n", "*m", guard=NO_ELEMENT),
    Matrix("gbmv", "s d c z", "trans m n kl ku alpha a lda x incx beta y! incy",
           "y := alpha op(A) x + beta y, A m by n with kl diagonals below the main one and ku above it",
           "std::int64_t{*kl} + *ku + 1", guard=f"{NO_ELEMENT} || {UNCHANGED}"),
    Matrix("symv", "s d", "uplo n alpha a lda x incx beta y! incy", "y := alpha A x + beta y, A symmetric",
           "*n", guard=f"*n == 0 || {UNCHANGED}"),
    Matrix("hemv", "c z", "uplo n alpha a lda x incx beta y! incy", "y := alpha A x + beta y, A Hermitian",
           "*n", guard=f"*n == 0 || {UNCHANGED}"),
    Matrix("sbmv", "s d", "uplo n k alpha a lda x incx beta y! incy",
           "y := alpha A x + beta y, A symmetric with k diagonals beside the main one",
           "std::int64_t{*k} + 1", guard=f"*n == 0 || {UNCHANGED}"),
    Matrix("hbmv", "c z", "uplo n k alpha a lda x incx beta y! incy",
           "y := alpha A x + beta y, A Hermitian with k diagonals beside the main one",
           "std::int64_t{*k} + 1", guard=f"*n == 0 || {UNCHANGED}"),
    Matrix("spmv", "s d", "uplo n alpha ap x incx beta y! incy", "y := alpha A x + beta y, A symmetric and packed",
           guard=f"*n == 0 || {UNCHANGED}"),
    Matrix("hpmv", "c z", "uplo n alpha ap x incx beta y! incy", "y := alpha A x + beta y, A Hermitian and packed",
           guard=f"*n == 0 || {UNCHANGED}"),
    Matrix("trmv", "s d c z", "uplo trans diag n a lda x! incx", "x := op(A) x, A triangular", "*n", guard="*n == 0"),
    Matrix("tbmv", "s d c z", "uplo trans diag n k a lda x! incx",
           "x := op(A) x, A triangular with k diagonals beside the main one", "std::int64_t{*k} + 1", guard="*n == 0"),
    Matrix("tpmv", "s d c z", "uplo trans diag n ap x! incx", "x := op(A) x, A triangular and packed",
           guard="*n == 0"),
    Matrix("trsv", "s d c z", "uplo trans diag n a lda x! incx", "solves op(A) x = b, b given in x, A triangular",
           "*n", guard="*n == 0"),
    Matrix("tbsv", "s d c z", "uplo trans diag n k a lda x! incx",
           "solves op(A) x = b, b given in x, A triangular with k diagonals beside the main one",
           "std::int64_t{*k} + 1", guard="*n == 0"),
    Matrix("tpsv", "s d c z", "uplo trans diag n ap x! incx",
           "solves op(A) x = b, b given in x, A triangular and packed", guard="*n == 0"),
    Matrix("ger", "s d", "m n alpha x incx y incy a! lda", "A := alpha x y^T + A, A m by n",
           "*m", guard=f"{NO_ELEMENT} || is_zero(*alpha)"),
    Matrix("geru", "c z", "m n alpha x incx y incy a! lda", "A := alpha x y^T + A, A m by n",
           "*m", guard=f"{NO_ELEMENT} || is_zero(*alpha)"),
    Matrix("gerc", "c z", "m n alpha x incx y incy a! lda", "A := alpha x y^H + A, A m by n",
           "*m", guard=f"{NO_ELEMENT} || is_zero(*alpha)"),
    Matrix("syr", "s d", "uplo n alpha x incx a! lda", "A := alpha x x^T + A, A symmetric",
           "*n", guard="*n == 0 || is_zero(*alpha)"),
    Matrix("her", "c z", "uplo n alpha x incx a! lda", "A := alpha x x^H + A, A Hermitian, alpha real",
           "*n", real="alpha", guard="*n == 0 || is_zero(*alpha)"),
    Matrix("spr", "s d", "uplo n alpha x incx ap!", "A := alpha x x^T + A, A symmetric and packed",
           guard="*n == 0 || is_zero(*alpha)"),
    Matrix("hpr", "c z", "uplo n alpha x incx ap!", "A := alpha x x^H + A, A Hermitian and packed, alpha real",
           real="alpha", guard="*n == 0 || is_zero(*alpha)"),
    Matrix("syr2", "s d", "uplo n alpha x incx y incy a! lda", "A := alpha (x y^T + y x^T) + A, A symmetric",
           "*n", guard="*n == 0 || is_zero(*alpha)"),
    Matrix("her2", "c z", "uplo n alpha x incx y incy a! lda",
           "A := alpha x y^H + conj(alpha) y x^H + A, A Hermitian", "*n", guard="*n == 0 || is_zero(*alpha)"),
    Matrix("spr2", "s d", "uplo n alpha x incx y incy ap!",
           "A := alpha (x y^T + y x^T) + A, A symmetric and packed", guard="*n == 0 || is_zero(*alpha)"),
    Matrix("hpr2", "c z", "uplo n alpha x incx y incy ap!",
           "A := alpha x y^H + conj(alpha) y x^H + A, A Hermitian and packed",
           guard="*n == 0 || is_zero(*alpha)"),

    # Level 3. With beta zero C is written and not read.
    Matrix("gemm", "s d", "transa transb m n k alpha a lda b ldb beta c! ldc",
           "C := alpha op(A) op(B) + beta C, op(A) m by k, op(B) k by n, C m by n, column-major; with beta zero "
           "C is written and not read", [ROWS_A, ROWS_B, "*m"],
           guard=f"{NO_ELEMENT} || {NO_PRODUCT}", driver="gemm"),
    Matrix("gemm", "c z", "transa transb m n k alpha a lda b ldb beta c! ldc",
           "C := alpha op(A) op(B) + beta C, op(A) m by k, op(B) k by n, C m by n", [ROWS_A, ROWS_B, "*m"],
           guard=f"{NO_ELEMENT} || {NO_PRODUCT}"),
    Matrix("gemm3m", "c z", "transa transb m n k alpha a lda b ldb beta c! ldc",
           "C := alpha op(A) op(B) + beta C by three real products, whose error is small against the norms of A and "
           "B, not against each element of C", [ROWS_A, ROWS_B, "*m"],
           guard=f"{NO_ELEMENT} || {NO_PRODUCT}"),
    Matrix("gemm", "sc dz", "transa transb m n k alpha a lda b ldb beta c! ldc",
           "C := alpha op(A) op(B) + beta C with a real A", [ROWS_A, ROWS_B, "*m"], real="a",
           guard=f"{NO_ELEMENT} || {NO_PRODUCT}"),
    Matrix("gemmt", "s d c z", "uplo transa transb n k alpha a lda b ldb beta c! ldc",
           "C := alpha op(A) op(B) + beta C on one triangle of C, n by n",
           ["is_normal(transa) ? *n : *k", ROWS_B, "*n"], guard=f"*n == 0 || {NO_PRODUCT}", also="gemmtr"),
    Matrix("symm", "s d c z", "side uplo m n alpha a lda b ldb beta c! ldc",
           "C := alpha A B + beta C, on the right alpha B A + beta C; A symmetric, B and C m by n",
           [OF_SIDE, "*m", "*m"], guard=f"{NO_ELEMENT} || {UNCHANGED}"),
    Matrix("hemm", "c z", "side uplo m n alpha a lda b ldb beta c! ldc",
           "C := alpha A B + beta C, on the right alpha B A + beta C; A Hermitian, B and C m by n",
           [OF_SIDE, "*m", "*m"], guard=f"{NO_ELEMENT} || {UNCHANGED}"),
    Matrix("syrk", "s d", "uplo trans n k alpha a lda beta c! ldc",
           "C := alpha A A^T + beta C, transposed alpha A^T A + beta C; C symmetric, n by n",
           [OF_TRANS, "*n"], guard=f"*n == 0 || {NO_PRODUCT}"),
    Matrix("syrk", "c z", "uplo trans n k alpha a lda beta c! ldc",
           "C := alpha A A^T + beta C, transposed alpha A^T A + beta C; C symmetric, n by n",
           [OF_TRANS, "*n"], letters={"trans": "NT"}, guard=f"*n == 0 || {NO_PRODUCT}"),
    Matrix("herk", "c z", "uplo trans n k alpha a lda beta c! ldc",
           "C := alpha A A^H + beta C, conjugate-transposed alpha A^H A + beta C; C Hermitian, n by n, alpha and beta "
           "real", [OF_TRANS, "*n"], letters={"trans": "NC"}, real="alpha beta",
           guard=f"*n == 0 || {NO_PRODUCT}"),
    Matrix("syr2k", "s d", "uplo trans n k alpha a lda b ldb beta c! ldc",
           "C := alpha (A B^T + B A^T) + beta C, transposed alpha (A^T B + B^T A) + beta C; C symmetric, n by n",
           [OF_TRANS, OF_TRANS, "*n"], guard=f"*n == 0 || {NO_PRODUCT}"),
    Matrix("syr2k", "c z", "uplo trans n k alpha a lda b ldb beta c! ldc",
           "C := alpha (A B^T + B A^T) + beta C, transposed alpha (A^T B + B^T A) + beta C; C symmetric, n by n",
           [OF_TRANS, OF_TRANS, "*n"], letters={"trans": "NT"}, guard=f"*n == 0 || {NO_PRODUCT}"),
    Matrix("her2k", "c z", "uplo trans n k alpha a lda b ldb beta c! ldc",
           "C := alpha A B^H + conj(alpha) B A^H + beta C, conjugate-transposed alpha A^H B + conj(alpha) B^H A + "
           "beta C; C Hermitian, n by n, beta real", [OF_TRANS, OF_TRANS, "*n"], letters={"trans": "NC"},
           real="beta", guard=f"*n == 0 || {NO_PRODUCT}"),
    Matrix("trmm", "s d c z", "side uplo transa diag m n alpha a lda b! ldb",
           "B := alpha op(A) B, on the right alpha B op(A); A triangular, B m by n", [OF_SIDE, "*m"],
           guard=NO_ELEMENT),
    Matrix("trsm", "s d c z", "side uplo transa diag m n alpha a lda b! ldb",
           "solves op(A) X = alpha B, on the right X op(A) = alpha B, X over B; A triangular, B m by n",
           [OF_SIDE, "*m"], guard=NO_ELEMENT),
]
