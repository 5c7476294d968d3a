package vemlo

// #include "bridge.h"
import "C"

import "unsafe"

// A Flavour is a kind of S3 endpoint.
type Flavour int

const (
	AWS        Flavour = iota // the global endpoint of AWS
	China                     // that of AWS in China
	Wasabi                    // Wasabi
	Customized                // any other endpoint
)

// A Location is where a bucket can be created.
type Location struct {
	// Code is what S3.CreateBucket takes.
	Code int
	// Name is for users. It is empty for customized endpoints, which have one location.
	Name string
}

// Locations returns the locations in which buckets can be created, none for an unknown flavour. No
// library need be open.
func Locations(flavour Flavour) []Location {
	var table *C.location_contraint_name_mapping
	switch flavour {
	case AWS:
		table = C.s3_get_location_contraint_name_mappings()
	case China:
		table = C.s3_cn_get_location_contraint_name_mappings()
	case Wasabi:
		table = C.wasabi_get_location_contraint_name_mappings()
	case Customized:
		table = C.customized_get_location_contraint_name_mappings()
	default:
		return nil
	}
	const end = 17
	var locations []Location
	for table.location_contraint != end {
		locations = append(locations, Location{int(table.location_contraint), C.GoString(table.name)})
		table = (*C.location_contraint_name_mapping)(unsafe.Add(unsafe.Pointer(table), unsafe.Sizeof(*table)))
	}
	return locations
}
