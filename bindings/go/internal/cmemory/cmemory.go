// Package cmemory lets the tests measure the memory that C has allocated.
package cmemory

// #include <malloc.h>
import "C"

// InUse returns the size of what C has allocated and not released, in bytes.
func InUse() int {
	use := C.mallinfo2()
	return int(use.uordblks + use.hblkhd)
}
