package vemlo

// #include "bridge.h"
import "C"

import (
	"context"
	"unsafe"
)

// A Folder is a folder of a drive, or of a bucket or container.
type Folder struct {
	// Name is the display name. In buckets and containers it is the full prefix with its final "/".
	Name string
	// ID identifies the folder of a drive. It is empty in buckets and containers.
	ID string
}

// A Listing is the folders of a folder, in the service's order.
type Listing struct {
	Folders []Folder
	// CutShort tells whether the service has more folders than these.
	CutShort bool
}

// Buckets are the names of the buckets or containers of an account, in the service's order.
type Buckets struct {
	Names []string
	// CutShort tells whether the service has more of them than these.
	CutShort bool
}

func foldersOf(records *C.directory, count C.int) []Folder {
	if count <= 0 {
		return nil
	}
	folders := make([]Folder, 0, count)
	// A record consists of the pointers to its name and its ID.
	name := ""
	eachText((**C.char)(unsafe.Pointer(records)), 2*int(count), func(i int, text string) {
		if i%2 == 0 {
			name = text
		} else {
			folders = append(folders, Folder{Name: name, ID: text})
		}
	})
	return folders
}

func namesOf(texts **C.char, count C.int) []string {
	if count <= 0 {
		return nil
	}
	names := make([]string, 0, count)
	eachText(texts, int(count), func(_ int, text string) { names = append(names, text) })
	return names
}

// eachText calls a function with copies of texts, null being an empty one. Many texts share one
// piece of memory, because allocating each of them alone costs as much as parsing the response. It
// is a small piece, so that a text that is kept for long does not keep a long listing.
func eachText(texts **C.char, count int, take func(i int, text string)) {
	const most = 1000
	var lengths [most]C.size_t
	rest := unsafe.Slice(texts, count)
	for first := 0; first < count; first += most {
		part := rest[first:]
		if len(part) > most {
			part = part[:most]
		}
		size := C.vemlo_go_measure(&part[0], C.int(len(part)), &lengths[0])
		copied := make([]byte, size+1)
		C.vemlo_go_copy(&part[0], C.int(len(part)), &lengths[0], (*C.char)(unsafe.Pointer(&copied[0])))
		text := *(*string)(unsafe.Pointer(&copied)) // which nobody writes to any more
		for i := range part {
			take(first+i, text[:lengths[i]])
			text = text[lengths[i]:]
		}
	}
}

// list makes a call that lists folders.
func (s *session) list(ctx context.Context, r request,
	function func(folders **C.directory, count *C.int) C.int) (Listing, error) {
	var records *C.directory
	var count C.int
	defer func() { C.vemlo_go_free_listing(records, count) }()
	cutShort, err := s.run(ctx, r, func() C.int { return function(&records, &count) })
	if err != nil {
		return Listing{}, err
	}
	return Listing{foldersOf(records, count), cutShort}, nil
}

// listBuckets makes a call that lists buckets or containers.
func (s *session) listBuckets(ctx context.Context,
	function func(names ***C.char, count *C.int) C.int) (Buckets, error) {
	var texts **C.char
	var count C.int
	defer func() { C.free_buckets(texts, count) }()
	cutShort, err := s.run(ctx, request{}, func() C.int { return function(&texts, &count) })
	if err != nil {
		return Buckets{}, err
	}
	return Buckets{namesOf(texts, count), cutShort}, nil
}
