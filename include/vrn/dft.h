/* vrn/dft.h - discrete Fourier transforms. Plain C11.
 *
 *     forward   X[k] = sf * sum over j of x[j] exp(-2 pi i j k / n)
 *     backward  x[j] = sb * sum over k of X[k] exp(+2 pi i j k / n)       scales sf, sb: 1 unless set
 *
 * over every dimension. Create a descriptor, set what differs from the defaults, commit, compute any number of times,
 * free. Several threads may compute with one committed descriptor at once; everything else needs it alone. Setting a
 * parameter undoes the commit, but for a scale that stays as it was.
 *
 *     vrn_dft_handle h;
 *     int64_t n = 1000;
 *     vrn_dft_create(&h, VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, 1, &n);
 *     vrn_dft_set_double(h, VRN_DFT_BACKWARD_SCALE, 1.0 / n);
 *     vrn_dft_commit(h);
 *     vrn_dft_forward(h, x, NULL);
 *     vrn_dft_free(&h);
 *
 * Lengths, strides and distances count elements: complex values in the complex domain; in the real domain reals, but
 * complex values on the spectrum's side when it is stored as such. The first length is the fastest: by default its
 * stride is 1 and each next one's the product before it. Strides are set as rank + 1 numbers, an offset and then one
 * for each dimension in the order of the lengths; for rows first give the lengths from the last to the first.
 *
 * Real transforms. The first dimension is the one that is halved. By default the spectrum is packed in reals, for ranks
 * 1 and 2 (parameter 21); with conjugate-even storage VRN_DFT_COMPLEX_VALUES it has n/2 + 1 complex values a row, for
 * any rank. Then `input` is the side that is given and `output` the one that is made: a backward transform of more than
 * one row wants the strides and distances of the two sides exchanged. In place each stride and distance of the real
 * side must be twice that of the spectrum, or commit returns 3.
 *
 * Split storage (parameter 8): real and imaginary parts in two arrays, for the complex domain; vrn_dft_forward_split.
 *
 * Scrambled order (parameter 16): a forward result whose order only the same descriptor's backward transform undoes,
 * for convolutions.
 *
 * Every function returns a status: 0 or what vrn_dft_message tells. Nothing is written where it is not 0, but a
 * compute that runs out of memory may leave its output half done. */
#ifndef VRN_DFT_H
#define VRN_DFT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct vrn_dft_record* vrn_dft_handle;

enum {
    VRN_DFT_OK = 0,
    VRN_DFT_NO_MEMORY = 1,
    VRN_DFT_BAD_LENGTH = 2,
    VRN_DFT_BAD_CONFIGURATION = 3, /* a null handle, an unknown parameter, or one that no transform exists for */
    VRN_DFT_NOT_COMMITTED = 4,
    VRN_DFT_BAD_VALUE = 5, /* of a parameter, or a null array */
    VRN_DFT_BAD_RANK = 6,
    VRN_DFT_INTERNAL = 7,
    VRN_DFT_TOO_LONG = 9
};

/* Parameters by number. I: vrn_dft_set_int, vrn_dft_get_int. D: _double. L: _ints, with the count given. */
enum {
    VRN_DFT_PRECISION = 1,       /* I, read only: VRN_DFT_SINGLE or VRN_DFT_DOUBLE */
    VRN_DFT_DOMAIN = 2,          /* I, read only: VRN_DFT_COMPLEX or VRN_DFT_REAL */
    VRN_DFT_RANK = 3,            /* I, read only */
    VRN_DFT_FORWARD_SCALE = 4,   /* D, 1 */
    VRN_DFT_BACKWARD_SCALE = 5,  /* D, 1 */
    VRN_DFT_LENGTHS = 6,         /* L, read only, rank numbers */
    VRN_DFT_TRANSFORMS = 7,      /* I, 1: how many at once, at the distances below */
    VRN_DFT_COMPLEX_STORAGE = 8, /* I: VRN_DFT_COMPLEX_VALUES or VRN_DFT_SPLIT */
    VRN_DFT_REAL_STORAGE = 9,    /* I: VRN_DFT_SPLIT, the only one */
    VRN_DFT_SPECTRUM_STORAGE = 10, /* I: VRN_DFT_PACKED or VRN_DFT_COMPLEX_VALUES; of real transforms */
    VRN_DFT_PLACEMENT = 11,      /* I: VRN_DFT_IN_PLACE or VRN_DFT_NOT_IN_PLACE */
    VRN_DFT_INPUT_STRIDES = 12,  /* L, rank + 1 numbers */
    VRN_DFT_OUTPUT_STRIDES = 13, /* L; in place the complex domain reads the input's only */
    VRN_DFT_INPUT_DISTANCE = 14, /* I, 0 */
    VRN_DFT_OUTPUT_DISTANCE = 15, /* I, 0 */
    VRN_DFT_ORDERING = 16,       /* I: VRN_DFT_ORDERED or VRN_DFT_SCRAMBLED */
    VRN_DFT_WORKSPACE = 17,      /* I: VRN_DFT_WORKSPACE_DEFAULT, or VRN_DFT_WORKSPACE_2D: long lines without a second copy */
    VRN_DFT_TRANSPOSITION = 18,  /* I: 53, the only one */
    VRN_DFT_NAME = 19,           /* text of at most 10 bytes: vrn_dft_set_name, vrn_dft_get_name */
    VRN_DFT_COMMIT_STATUS = 20,  /* I, read only: VRN_DFT_COMMITTED or VRN_DFT_UNCOMMITTED */
    VRN_DFT_PACKED_FORMAT = 21,  /* I: VRN_DFT_CCS and its like */
    VRN_DFT_OPTION_1 = 22,       /* I, 0: three numbers for the program's own use */
    VRN_DFT_OPTION_2 = 23,
    VRN_DFT_OPTION_3 = 24,
    VRN_DFT_THREADS = 26,        /* I, 0: the most threads of a compute; 0 follows vrn_set_num_threads */
    VRN_DFT_USER_THREADS = 27    /* I, 1: how many threads of the program will compute at once; above 1 each computes alone */
};

/* Values of parameters. */
enum {
    VRN_DFT_COMMITTED = 30,
    VRN_DFT_UNCOMMITTED = 31,
    VRN_DFT_COMPLEX = 32,
    VRN_DFT_REAL = 33,
    VRN_DFT_SINGLE = 35,
    VRN_DFT_DOUBLE = 36,
    VRN_DFT_COMPLEX_VALUES = 39,
    VRN_DFT_PACKED = 40,
    VRN_DFT_SPLIT = 42,
    VRN_DFT_IN_PLACE = 43,
    VRN_DFT_NOT_IN_PLACE = 44,
    VRN_DFT_ORDERED = 48,
    VRN_DFT_SCRAMBLED = 49,
    VRN_DFT_WORKSPACE_DEFAULT = 51,
    VRN_DFT_WORKSPACE_2D = 52,
    /* Packed rows of an even n, with R and I the parts of value k:
     *   CCS   R0 0 R1 I1 ... R(n/2) 0         n + 2 reals; for odd n the last pair is a full one, n + 1 reals
     *   PACK  R0 R1 I1 ... R(n/2)             n
     *   PERM  R0 R(n/2) R1 I1 ...             n; for odd n the same as PACK
     *   CCE   as CCS, with spectrum storage VRN_DFT_COMPLEX_VALUES
     * In two dimensions the columns of R0 and R(n/2), real themselves, are packed the same way downwards. */
    VRN_DFT_CCS = 54,
    VRN_DFT_PACK = 55,
    VRN_DFT_PERM = 56,
    VRN_DFT_CCE = 57
};

int32_t vrn_dft_create(vrn_dft_handle* handle, int32_t precision, int32_t domain, int32_t rank, const int64_t* lengths);
/* The same configuration, uncommitted. */
int32_t vrn_dft_clone(vrn_dft_handle handle, vrn_dft_handle* copy);
/* Sets the handle to null; a null handle is 0. */
int32_t vrn_dft_free(vrn_dft_handle* handle);

int32_t vrn_dft_set_int(vrn_dft_handle handle, int32_t parameter, int64_t value);
int32_t vrn_dft_get_int(vrn_dft_handle handle, int32_t parameter, int64_t* value);
int32_t vrn_dft_set_double(vrn_dft_handle handle, int32_t parameter, double value);
int32_t vrn_dft_get_double(vrn_dft_handle handle, int32_t parameter, double* value);
int32_t vrn_dft_set_ints(vrn_dft_handle handle, int32_t parameter, const int64_t* values, int32_t count);
int32_t vrn_dft_get_ints(vrn_dft_handle handle, int32_t parameter, int64_t* values, int32_t count);
/* A longer name is cut; a shorter one is filled with blanks. No terminator is written. */
int32_t vrn_dft_set_name(vrn_dft_handle handle, const char* name, int32_t length);
int32_t vrn_dft_get_name(vrn_dft_handle handle, char* name, int32_t capacity);

int32_t vrn_dft_commit(vrn_dft_handle handle);

/* Interleaved data, or reals. In place `out` is not read. */
int32_t vrn_dft_forward(vrn_dft_handle handle, void* in, void* out);
int32_t vrn_dft_backward(vrn_dft_handle handle, void* in, void* out);
/* Split storage. In place the last two are not read. */
int32_t vrn_dft_forward_split(vrn_dft_handle handle, void* in_re, void* in_im, void* out_re, void* out_im);
int32_t vrn_dft_backward_split(vrn_dft_handle handle, void* in_re, void* in_im, void* out_re, void* out_im);

/* 1 when a status is of a class, else 0. The classes are the statuses above. */
int32_t vrn_dft_is_class(int32_t status, int32_t status_class);
/* One line without newline; valid for good. */
const char* vrn_dft_message(int32_t status);
/* The plan of a committed descriptor in one line, cut to the capacity and terminated. For reports and curiosity. */
int32_t vrn_dft_describe(vrn_dft_handle handle, char* line, int32_t capacity);

#ifdef __cplusplus
}
#endif

#endif
