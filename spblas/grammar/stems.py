"""Which classic sparse kernels exist, as one table. A stem reads, left to right,

    type format base op class triangle diagonal layout "__" product "out_" mode        dcsr1ntlnf__mvout_par

    type      s d c z
    format    csr coo dia bsr
    base      0 1              index base of the sparse arrays
    op        n t c s          none, transpose, conjugate transpose, conjugate alone
    class     g s h t a d      general, symmetric, Hermitian, triangular, antisymmetric, diagonal
    triangle  l u _            which triangle of the arrays is read
    diagonal  n u _            read from the arrays, or one whatever they hold
    layout    c f              dense matrices by rows, or by columns
    product   mv mm sv sm gemv vector, matrix, solves with one and with many right-hand sides, y = A x alone
    mode      par seq          takes a range, or the whole problem

and exists twice, once for each integer width. To add a format or a class: a row here, its argument list in
spblas/arguments.hpp, its template; spblas/README.md tells the steps. The generator compares the whole table with
frame/exports.txt and stops at a difference in either direction.
"""
from dataclasses import dataclass

# Class, triangle and diagonal together; a capital stands for the four of a class.
GROUPS = {
    "T": "tln tlu tun tuu",
    "S": "sln slu sun suu",
    "H": "hln hlu hun huu",
    "A": "al_ au_",
}

# By folder, the headers whose templates are written: spblas/csr/mv.hpp is "mv" of "csr". Names of the others stay
# pending and abort loudly. Names that stand by hand count as written with their folder's "hand".
WRITTEN = {
    "csr": {"mv", "gemv", "mm", "sv", "sm"},
    "bsr": {"gemv", "mv", "dense", "gauss", "invdiag"},
    "sky": {"mm", "sv"},
    "convert": {"csrcoo", "csrcsc", "csrdia", "csrsky", "csrbsr", "dnscsr", "services", "hand"},
    "product": {"multiply", "add", "dense", "split", "find_diag", "symmetric"},
    "coo": {"mv", "mm", "sv", "sm"},
    "dia": {"mv", "mm", "sv", "sm"},
}


@dataclass
class Row:
    """Stems of one format, product and mode. Real types fold conjugation and Hermitian matrices away."""
    format: str
    product: str
    mode: str
    places: str             # base and layout pairs
    complex: str            # "op: classes; op: classes"
    real: str
    arguments: str = ""     # its list in arguments.hpp; format_product_mode where nothing is said
    types: str = "sdcz"

    def __post_init__(self):
        self.arguments = self.arguments or f"{self.format}_{self.product}_{self.mode}"


ROWS = [
    # Diagonal classes and whole triangles under transposition are whole-problem kernels: they have no range.
    Row("csr", "mv", "par", "0c 1f", "n: A g__ H S T; t: g__ H; c: A g__ S; s: g__ T", "n: A g__ S T; t: g__"),
    Row("csr", "mv", "seq", "0c 1f", "n: d_n d_u; t: T; c: d_n T", "n: d_n d_u; t: T"),
    Row("csr", "mm", "par", "0c 0f 1c 1f", "n: A g__ H S T; t: g__ H T; c: A g__ S T; s: g__ T",
        "n: A g__ S T; t: g__ T"),
    Row("csr", "mm", "seq", "0c 0f 1c 1f", "n: d_n d_u; c: d_n", "n: d_n d_u"),
    Row("csr", "sv", "seq", "0c 1f", "n: d_n T; t: T; c: d_n T; s: T", "n: d_n T; t: T"),
    Row("csr", "sm", "par", "0c 1f", "n: d_n T; t: T; c: d_n T; s: T", "n: d_n T; t: T"),
    # One name in one type: a product for callers that keep a single array of row pointers.
    Row("csr", "gemv", "par", "1f", "", "n: g__", types="d"),

    # Transposition is the caller's: it exchanges the index arrays.
    Row("coo", "mv", "par", "0c 1f", "n: A g__ H S T; s: A g__ S T", "n: A g__ S T"),
    Row("coo", "mv", "seq", "0c 1f", "n: d_n d_u; s: d_n", "n: d_n d_u"),
    Row("coo", "mm", "par", "0c 1f", "n: A d_n d_u g__ H S T; s: A d_n g__ S T", "n: A d_n d_u g__ S T"),
    Row("coo", "mm", "par", "1c", "n: g__", "n: g__", arguments="coo_mm_scratch"),
    Row("coo", "sv", "seq", "0c 1f", "n: d_n T; s: d_n T", "n: d_n T"),
    Row("coo", "sm", "par", "0c 1f", "n: d_n T; s: d_n T", "n: d_n T; s: T"),  # real s is n

    Row("dia", "mv", "par", "1f", "n: A d_n g__ H S T; t: g__ H T; c: A d_n g__ S T", "n: A d_n g__ S T; t: g__ T"),
    Row("dia", "mm", "par", "1f", "n: A d_n g__ H S T; t: A g__ H T; c: A d_n g__ S T",
        "n: A d_n g__ S T; t: A g__ T"),
    Row("dia", "sv", "seq", "1f", "n: T; t: T; c: T", "n: T; t: T"),
    Row("dia", "sv", "seq", "1f", "n: d_n; c: d_n", "n: d_n", arguments="dia_sv_diagonal"),
    Row("dia", "sm", "par", "1f", "n: T; t: T; c: T", "n: T; t: T"),
    Row("dia", "sm", "seq", "1f", "n: d_n; c: d_n", "n: d_n", arguments="dia_sm_diagonal"),

    Row("bsr", "gemv", "par", "0c 1f", "n: g__", "n: g__"),
    Row("bsr", "mv", "par", "0c 1f", "n: sln sun", "n: sln sun"),
]


@dataclass
class Outside:
    """Stems outside the grammar; `?` is the type letter. Each calls a template of spblas/<folder>/<header>.hpp, but
    for those without a header here: they stand by hand in their folder, since they share a body with another name
    and take no number at all."""
    folder: str
    header: str
    stem: str
    arguments: str = ""     # its list in arguments.hpp
    kernel: str = ""
    types: str = "sdcz"


LAYOUTS = {"": "layout::columns", "cspblas_": "layout::rows"}

OUTSIDE = [
    *(Outside("bsr", "dense", f"{prefix}?bsrmm{kind}", f"bsr_mm_{lists}", f"bsr::mm_{kind}<T, I, {layout}>", types)
      for prefix, layout in LAYOUTS.items()
      for kind, lists, types in (("gen", "whole", "sdcz"), ("skew", "whole", "sdcz"), ("diag", "whole", "sdcz"),
                                 ("tr", "chosen", "sdcz"), ("sym", "chosen", "sdcz"), ("her", "chosen", "cz"))),
    *(Outside("bsr", "gauss", f"?{format}_{prefix}gauss", "bsr_gauss", f"bsr::{format}_gauss<T, I, {layout}>")
      for prefix, layout in LAYOUTS.items() for format in ("bsr", "bsc")),
    *(Outside("bsr", "invdiag", f"?bsr_{prefix}invdiag", "bsr_invdiag", f"bsr::invdiag<T, I, {layout}>")
      for prefix, layout in LAYOUTS.items()),

    *(Outside("sky", "mm", f"?skymm{letter}k", "sky_mm", f"sky::mm<T, I, '{letter}'>") for letter in "gsk"),
    Outside("sky", "sv", "?skysvk", "sky_sv", "sky::sv<T, I>"),

    *(Outside("convert", name, f"vrn_?{name}", name, f"convert::{name}<T, I>")
      for name in ("csrcoo", "csrcsc", "csrdia", "csrsky", "csrbsr", "dnscsr")),
    *(Outside("convert", "services", f"?{name}", name, f"convert::{name}<T, I>")
      for name in ("sortrow", "zerocheck", "ones", "neones", "matcopy")),
    Outside("convert", "", "?zeros", "zeros"),
    Outside("convert", "", "spmalloc", types=""),
    Outside("convert", "", "spfree", types=""),

    *(Outside("product", header, f"?{name}", name, f"product::{name}<T, I>")
      for header, names in (("multiply", "mcsr_notr multcsr_tr multcsr_trom"), ("add", "mcsradd_notr mcsradd_tr"),
                            ("dense", "csrmultd_ker csrmultd_ker_t"),
                            ("split", "split_par split_syml_par split_symu_par"))
      for name in names.split()),
    *(Outside("product", "find_diag", f"find_diag_par_{kind}", "find_diag_par",
              f"product::find_diag_par<I, '{kind[0]}', '{kind[1]}'>", types="")
      for kind in ("ln", "lu", "un", "uu")),
    Outside("product", "symmetric", "dcsrsymmvs", "dcsrsymmvs", "product::dcsrsymmvs<T, I>", types="d"),
]
