//go:build !cgo

package vemlo

// Without cgo, Go leaves out the files that call C. This line does not compile, so that such a build
// says what it lacks.
var _ = vemlo_takes_cgo_so_set_CGO_ENABLED_to_1_and_install_a_C_compiler
