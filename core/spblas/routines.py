"""The public sparse BLAS as one table: what the entries in both integer widths and the header are generated from.

A routine is its name without the type letter, its arguments in published order and the mathematics. Argument names fix
their kinds and what is bad about them:

    trans uplo descr                      letters; descr is the descriptor of the header's first page
    m n k mb kb                           sizes, not negative; those with b count blocks
    lb lval ldb ldc nnz ndiag nzmax       further integers
    alpha beta                            scalars
    val x y b c a acsr ...                elements
    indx pntrb ja ia job info ...         arrays of integers
    a `!` behind a name marks what is written

Checks stand in the order of the arguments; the published number is the argument's place in the list. Products and
solves of all formats are made of two short tables, the rest are rows of their own. The families of operations are
those of Duff, Heroux and Pozo (2002).
"""

TYPES = {"s": "float", "d": "double", "c": "vrn_complex8", "z": "vrn_complex16"}
SIZES = {"m", "n", "k", "mb", "kb"}
INTEGERS = SIZES | {"lb", "lval", "ldb", "ldc", "lda", "nnz", "ndiag", "nzmax", "request", "sort", "size"}
INDICES = set("indx pntrb pntre rowind colind idiag pntr ja ia jb ib jc ic ja1 ia1 ja_rem ia_rem jab iab job info".split())
LETTERS = {"trans", "uplo", "descr"}
SCALARS = {"alpha", "beta"}


class Routine:
    def __init__(self, name, arguments, doc, checks=(), *, types="sdcz", driver=None, view=None, faults=None, also=None):
        self.name, self.doc, self.types = name, doc, types
        self.written = {a[:-1] for a in arguments.split() if a.endswith("!")}
        self.arguments = arguments.replace("!", "").split()
        self.driver = driver or name        # host template that takes the checked arguments
        self.view = view                    # arrays that it takes as one, in the order of the list
        self.faults = faults                # further arguments of the checking mode's look at them
        self.also = also                    # a second name, with `?` for the type letter
        own = dict(checks)
        self.checks = []                    # (argument, condition that makes it bad), in the order of arguments
        for a in self.arguments:
            if a in SIZES:
                self.checks.append((a, f"*{a} < 0"))
            elif a == "trans" and a not in own:
                self.checks.append((a, 'is_not_one_of(trans, "NTC")'))
            if a in own:
                self.checks.append((a, own[a]))


# A format: its arrays, what its descriptor may say in products and in solves, whether dense matrices may lie by rows.
class Format:
    def __init__(self, arrays, title, kinds="GSHTAD", solves="TD", by_rows=True, blocked=False, checks=(), products=True):
        self.arrays, self.title, self.kinds, self.solves = arrays, title, kinds, solves
        self.by_rows, self.blocked, self.checks, self.products = by_rows, blocked, dict(checks), products


FORMATS = {
    "csr": Format("val indx pntrb pntre", "A in CSR"),
    "csc": Format("val indx pntrb pntre", "A in CSC"),
    "coo": Format("val rowind colind nnz", "A in COO", checks={"nnz": "*nnz < 0"}),
    "dia": Format("val lval idiag ndiag", "A in DIA", by_rows=False,
                  checks={"lval": "*lval < at_least_one(*m)", "ndiag": "*ndiag < 0"}),
    "bsr": Format("val indx pntrb pntre", "A in BSR", blocked=True, checks={"lb": "*lb < 1"}),
    "bsc": Format("val indx pntrb pntre", "A in block CSC, otherwise as BSR", blocked=True, products=False,
                  checks={"lb": "*lb < 1"}),
    "sky": Format("val pntr", "A in skyline storage", kinds="SHTA", solves="T", by_rows=False),
}

PRODUCTS = {
    "mv": ("trans m k {lb} alpha descr {arrays} x beta y!",
           "y := alpha op(A) x + beta y, {title}, m by k; A and x are not read when alpha is zero, y when beta is"),
    "mm": ("trans m n k {lb} alpha descr {arrays} b ldb beta c! ldc",
           "C := alpha op(A) B + beta C, {title}, m by k, C with n columns; A and B are not read when alpha is zero, C "
           "when beta is"),
}
SOLVES = {
    "sv": ("trans m {lb} alpha descr {arrays} x y!",
           "y := alpha inv(op(A)) x, {title}, m by m, triangular or diagonal; x and y may be one"),
    "sm": ("trans m n {lb} alpha descr {arrays} b ldb c! ldc",
           "C := alpha inv(op(A)) B, {title}, m by m, triangular or diagonal, n right-hand sides; B and C may be one"),
}


def of_format(name, f):
    rows, columns = ("mb", "kb") if f.blocked else ("m", "k")
    scale = " * *lb" if f.blocked else ""
    for product, (arguments, doc) in {**(PRODUCTS if f.products else {}), **SOLVES}.items():
        solve = product in SOLVES
        text = arguments.format(lb="{lb}" if f.blocked else "", arrays=f.arrays)
        text = " ".join({"m": rows, "k": columns, "{lb}": "lb"}.get(a, a) for a in text.split())
        needs_layout = product in ("mm", "sm")
        checks = dict(f.checks)
        kinds = f.solves if solve else f.kinds
        checks["descr"] = f'bad_descr(descr, "{kinds}", {"false" if needs_layout and not f.by_rows else "true"})'
        if not solve:
            # Every class but the general one is of square matrices.
            checks[columns] = f"*{columns} != *{rows} && !is_general(descr)"
        if needs_layout:
            inner = f"int64_t{{*{rows}}}" if solve else f"int64_t{{is_plain(trans) ? *{columns} : *{rows}}}"
            outer = f"int64_t{{*{rows}}}" if solve else f"int64_t{{is_plain(trans) ? *{rows} : *{columns}}}"
            for a, length in (("ldb", inner), ("ldc", outer)):
                checks[a] = f"*{a} < shortest(descr, {length}{scale}, *n)"
        where = f"*{rows}, *{rows if solve else columns}"
        yield Routine(name + product, text, doc.format(title=f.title), checks, driver=product, view=name,
                      faults=f"{where}, {'true' if solve else 'false'}")


def jobs(last):
    """job[0] is 0 to `last`, or anything for -1; job[1] and job[2] are index bases."""
    return f"bad_job(job, {last})"


def rows(indx, pntr, m, n, base="1", when=""):
    """A look at the rows of a CSR matrix in one array of pointers, in the checking mode."""
    return {indx: f"checking() && {when}bad_rows({indx}, {pntr}, {m}, {n}, {base})"}


FROM_CSR = rows("ja", "ia", "*m", "*m", "job[1]", "job[0] == 0 && ")


CONVERSIONS = [
    Routine("csrcoo", "job m acsr! ja! ia! nnz! acoo! rowind! colind! info!",
            "CSR to COO (job[0] 0), COO to CSR (1), COO to CSR with sorted rows (2). job[1], job[2]: index base of CSR and "
            "of COO. job[4]: how many entries fit the output. job[5], to COO: 1 only rowind, 2 rowind and colind, 3 all; to "
            "CSR: 0 all, 1 only ia, 2 only shifts colind and acoo in place. info: 0; 1 the output is too small; 2 unknown "
            "job[5]", {"job": jobs(2)}),
    Routine("csrcsc", "job m acsr! ja! ia! acsc! ja1! ia1! info!",
            "CSR of an m by m matrix to CSC (job[0] 0) or back (not 0, the first arrays then being written). job[1], job[2]: "
            "index base of the source and of the target. job[5]: 0 only the pattern, not 0 the values too. Rows in order "
            "become columns in order", {"job": jobs(-1), **FROM_CSR}),
    Routine("csrdia", "job m acsr! ja! ia! adia! lval idiag! ndiag! acsr_rem! ja_rem! ia_rem! info!",
            "CSR of an m by m matrix to DIA (job[0] 0) or back (not 0). job[1]: index base of CSR; job[2]: of the rest. To "
            "DIA, tens of job[5] not 0: idiag and ndiag are chosen, at most ndiag of them; 0: idiag is given. Units not 0: "
            "what fits no diagonal goes to the rest. Back, job[5] 0 drops zeros. info: 0; -1 no memory",
            {"job": jobs(-1), "lval": "*lval < at_least_one(*m)", **FROM_CSR}),
    Routine("csrsky", "job m acsr! ja! ia! asky! pntr! info!",
            "CSR of an m by m triangle to skyline storage (job[0] 0) or back (not 0). job[1], job[2]: index base of CSR and "
            "of pntr. job[3]: 0 lower, 1 upper. job[4]: how many elements fit asky. job[5]: 0 all, not 0 only pntr. info: 0; "
            "1 asky is too small", {"job": jobs(-1), **FROM_CSR}),
    Routine("csrbsr", "job m lb lval acsr! ja! ia! absr! jab! iab! info!",
            "CSR to BSR with blocks of lb by lb (job[0] 0), m rows, or back (not 0), m block rows. job[1], job[2]: index base "
            "of CSR and of BSR; blocks lie by rows where that of BSR is 0, else by columns. lval: elements from one block to "
            "the next, at least lb*lb. job[5] above 0 fills all arrays, -1 only counts into iab. info: 0; 1 bad lb; 2 bad "
            "lval; -1 no memory", {"job": jobs(-1)}, also="vrn_?csrbsr"),
    Routine("dnscsr", "job m n adns! lda acsr! ja! ia! info!",
            "Dense m by n to CSR (job[0] 0) or back (1). job[1], job[2]: base of the dense matrix, which lies by rows where "
            "it is 0 and else by columns, and of CSR. job[3]: 0 lower triangle, 1 upper, 2 everything. job[4]: how many "
            "entries fit. job[5]: 0 only ia, not 0 all. info: 0; to CSR the row, counted from 0, before which the output was "
            "full; back the one-based row with a column outside",
            {"job": jobs(1), "lda": "*lda < at_least_one(job[1] == 0 ? *n : *m)"}),
    Routine("csrsort", "m a! ja! ia", "Sorts the rows of an m-row CSR matrix by column; ia[0] tells the index base"),
]

OPERANDS = {**rows("ja", "ia", "*m", "*n"), **rows("jb", "ib", "is_plain(trans) ? *n : *m", "*k")}

SUMS = [
    Routine("csrgemv", "trans m k val indx pntr x y!",
            "y := op(A) x, A in one-based CSR, m by k, without gaps: row i ends where row i + 1 starts",
            rows("indx", "pntr", "*m", "*k")),
    Routine("csrsymv", "uplo m val indx pntr x y!",
            "y := A x, A symmetric, m by m, in one-based CSR without gaps that holds one triangle and nothing else, rows in "
            "order", {"uplo": 'is_not_one_of(uplo, "UL")', **rows("indx", "pntr", "*m", "*m")}),
    Routine("csrmultcsr", "trans request sort m n k a ja ia b jb ib c! jc! ic! nzmax info!",
            "C := op(A) B, all in one-based CSR, A m by n, B with k columns. request 0: everything, at most nzmax entries; 1: "
            "only ic; 2: jc and c, ic being there from 1. sort not 0: rows of C in order. For complex types op is N or T. "
            "info: 0; -1 no memory; else the row that does not fit",
            {"trans": 'is_not_one_of(trans, {letters})', "request": "*request < 0 || *request > 2",
             **OPERANDS}),
    Routine("csradd", "trans request sort m n a! ja! ia beta b! jb! ib c! jc! ic! nzmax info!",
            "C := op(A) + beta B, all in one-based CSR, A m by n, rows in order. sort: 1 sorts rows of A first, 2 of B, 3 of "
            "both, 0 none. request and info as in csrmultcsr. For complex types op is N or T",
            {"trans": 'is_not_one_of(trans, {letters})', "request": "*request < 0 || *request > 2",
             "sort": "*sort < 0 || *sort > 3", **rows("ja", "ia", "*m", "*n"),
             **rows("jb", "ib", "is_plain(trans) ? *m : *n", "is_plain(trans) ? *n : *m")}),
    Routine("csrmultd", "trans m n k a ja ia b jb ib c! ldc",
            "C := op(A) B, A m by n and B with k columns in one-based CSR, C dense by columns. For complex types op is N or T",
            {"trans": 'is_not_one_of(trans, {letters})', "ldc": "*ldc < at_least_one(is_plain(trans) ? *m : *n)",
             **OPERANDS}),
]

ROUTINES = [r for name, f in FORMATS.items() for r in of_format(name, f)] + CONVERSIONS + SUMS
