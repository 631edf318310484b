# frame/reexports.S - exported names that are jumps into the host.
#
# Sixteen names of vrn_blas_lp64_ are imported from the host and exported again: the host's symbol carries
# the version VRN_CORE_1, ours VRN_S42_1, and the body is a jump through the import slot. The seven
# capitalised names of the convolution family re-enter the host's public entry in the same way; the bodies of
# this library have the lower-case names.

    .section .note.GNU-stack,"",@progbits
    .text

.macro jump_to import, name
    .type \name,@function
    .balign 8
\name:
    jmp *\import@GOTPCREL(%rip)
    .size \name, .-\name
.endm

.macro reexport name
    .symver vrn_import_\name, vrn_blas_lp64_\name@VRN_CORE_1
    .symver vrn_export_\name, vrn_blas_lp64_\name@@VRN_S42_1
    .globl vrn_export_\name
    jump_to vrn_import_\name, vrn_export_\name
.endm

.macro capitalised import, name
    .globl vrn_conv_s42_\name
    jump_to vrn_conv_\import, vrn_conv_s42_\name
.endm

reexport caxpy
reexport ccopy
reexport cdotu
reexport cscal
reexport daxpy
reexport dcopy
reexport ddot
reexport dscal
reexport saxpy
reexport scopy
reexport sdot
reexport sscal
reexport zaxpy
reexport zcopy
reexport zdotu
reexport zscal

capitalised copytask, CopyTask
capitalised deletetask, DeleteTask
capitalised edittask, EditTask
capitalised exec, Exec
capitalised execx, ExecX
capitalised newtask, NewTask
capitalised newtaskx, NewTaskX
