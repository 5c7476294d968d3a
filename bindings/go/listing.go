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
	folders := make([]Folder, count)
	for i, record := range unsafe.Slice(records, count) {
		folders[i] = Folder{Name: C.GoString(record.name), ID: C.GoString(record.id)}
	}
	return folders
}

func namesOf(texts **C.char, count C.int) []string {
	if count <= 0 {
		return nil
	}
	names := make([]string, count)
	for i, text := range unsafe.Slice(texts, count) {
		names[i] = C.GoString(text)
	}
	return names
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
