//go:build !race

// The race detector is slow, and shows nothing here.

package vemlo_test

import (
	"context"
	"runtime"
	"testing"

	"vemlo"
	"vemlo/internal/cmemory"
)

func TestRepeatedCallsReleaseWhatCAllocates(t *testing.T) {
	// The allocator counts what it keeps for each thread.
	runtime.LockOSThread()
	defer runtime.UnlockOSThread()
	s3, drive := openS3(t), openDrive(t, vemlo.GoogleDrive, "access")
	cancelled, cancel := context.WithCancel(background)
	cancel()
	endless, cancel := context.WithCancel(background)
	defer cancel()
	panicking := vemlo.WithProgress(background, func(vemlo.Progress) bool { panic("each time") })
	calls := map[string]func(){
		"buckets":   func() { _, err := s3.Buckets(endless); must(err) },
		"listing":   func() { _, err := s3.Folders(background, "echo", "x"); must(err) },
		"failing":   func() { _, _ = s3.Folders(background, "AccessDenied", "") },
		"cancelled": func() { _, _ = s3.Folders(cancelled, "echo", "") },
		"panicking": func() { recovered(func() { _, _ = s3.Folders(panicking, "echo", "") }) },
		"empty":     func() { _, err := drive.Folders(background, "empty"); must(err) },
		"created":   func() { _, err := drive.CreateFolder(background, "id", "name"); must(err) },
		"link":      func() { _, err := drive.Link(background, "1"); must(err) },
		"url":       func() { _, err := drive.AuthorizeURL("state"); must(err) },
		"text":      func() { _, err := library.Encrypt("text"); must(err) },
		"account": func() {
			tokens := vemlo.Tokens{Access: "access"}
			_, err := library.AccountOf(background, vemlo.GoogleDrive, tokens, cloud.proxy)
			must(err)
		},
		"session": func() {
			session, err := library.OpenS3(vemlo.S3Config{Endpoint: "http://127.0.0.1"})
			must(err)
			must(session.Close())
		},
	}
	// The smallest piece that C allocates takes 32 bytes, so one piece per call exceeds the limit. As
	// many calls come first, because there are caches that are filled by hundreds of them. A
	// connection that ends later than another, with its buffers for TLS, exceeds the limit, too, but
	// not in each of several rounds.
	const times, rounds, limit = 800, 4, 800 * 32 * 3 / 4
	repeat := func(call func()) (growth int) {
		before := cmemory.InUse()
		for i := 0; i < times; i++ {
			call()
		}
		return cmemory.InUse() - before
	}
	for name, call := range calls {
		repeat(call)
		growth := repeat(call)
		for round := 1; growth > limit && round < rounds; round++ {
			growth = repeat(call)
		}
		if growth > limit {
			t.Errorf("%s: %d bytes more", name, growth)
		}
	}
}
