package vemlo_test

import (
	"context"
	"errors"
	"os"
	"runtime"
	"runtime/debug"
	"strconv"
	"strings"
	"sync"
	"testing"

	"vemlo"
	"vemlo/internal/cmemory"
)

// residentKiB is the resident size of the process, without what Go's collector can release.
func residentKiB() int {
	debug.FreeOSMemory()
	text, err := os.ReadFile("/proc/self/statm")
	must(err)
	pages, err := strconv.Atoi(strings.Fields(string(text))[1])
	must(err)
	return pages * os.Getpagesize() / 1024
}

func countEntries(folder string) int {
	entries, err := os.ReadDir(folder)
	must(err)
	return len(entries)
}

// eventDescriptors counts what cancellations consist of.
func eventDescriptors() int {
	count := 0
	entries, err := os.ReadDir("/proc/self/fd")
	must(err)
	for _, entry := range entries {
		target, err := os.Readlink("/proc/self/fd/" + entry.Name())
		if err == nil && target == "anon_inode:[eventfd]" { // others may close meanwhile
			count++
		}
	}
	return count
}

// goroutinesOf counts the goroutines that run a function of the package.
func goroutinesOf(function string) int {
	stacks := make([]byte, 1<<20)
	return strings.Count(string(stacks[:runtime.Stack(stacks, true)]), function)
}

func TestRepeatedCallsReleaseWhatCAllocates(t *testing.T) {
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
	// The smallest piece that C allocates takes 32 bytes, so one piece per call exceeds the limit.
	const times, limit = 600, 600 * 32 * 3 / 4
	for name, call := range calls {
		for i := 0; i < times/10; i++ {
			call()
		}
		before := cmemory.InUse()
		for i := 0; i < times; i++ {
			call()
		}
		if growth := cmemory.InUse() - before; growth > limit {
			t.Errorf("%s: %d bytes more", name, growth)
		}
	}
}

func TestManyGoroutinesShareSessions(t *testing.T) {
	s3, drive := openS3(t), openDrive(t, vemlo.GoogleDrive, "access")
	const goroutines, times = 64, 10
	listAll := func() {
		var wait sync.WaitGroup
		for i := 0; i < goroutines; i++ {
			wait.Add(1)
			go func() {
				defer wait.Done()
				ctx, cancel := context.WithCancel(background)
				defer cancel()
				for j := 0; j < times; j++ {
					if listing, err := s3.Folders(ctx, "pages", ""); len(listing.Folders) != 5 {
						t.Error(err)
					}
					if listing, err := drive.Folders(ctx, "folder"); len(listing.Folders) != 2 {
						t.Error(err)
					}
				}
			}()
		}
		wait.Wait()
	}
	for i := 0; i < 3; i++ {
		listAll()
	}
	threads, resident := countEntries("/proc/self/task"), residentKiB()
	for i := 0; i < 4; i++ {
		listAll()
	}
	// Go keeps a thread per call that has run at once with others, which differs a little.
	if now := countEntries("/proc/self/task"); now > threads+goroutines/4 {
		t.Errorf("%d threads, %d before", now, threads)
	}
	// Less than 4 KiB per call.
	if now := residentKiB(); now > resident+16*1024 {
		t.Errorf("%d KiB resident, %d before", now, resident)
	}
	t.Logf("%d threads, %d before", countEntries("/proc/self/task"), threads)
	t.Logf("%d KiB resident, %d before", residentKiB(), resident)
}

func TestContextsLeaveNoDescriptorAndNoGoroutine(t *testing.T) {
	s3 := openS3(t)
	descriptors := eventDescriptors()
	for i := 0; i < 100; i++ {
		ctx, cancel := context.WithCancel(background)
		_, err := s3.Buckets(ctx)
		must(err)
		if i%10 == 0 {
			err = cancelInside(ctx, cancel, s3)
		} else {
			cancel()
			_, err = s3.Buckets(ctx)
		}
		if !errors.Is(err, context.Canceled) {
			t.Error(err)
		}
	}
	if now := eventDescriptors(); now != descriptors {
		t.Errorf("%d descriptors, %d before", now, descriptors)
	}
	for goroutinesOf("vemlo.watch") > 0 { // what has told that it ends may not have ended yet
		runtime.Gosched()
	}
}

func TestEndlessContextsNeedNoGoroutine(t *testing.T) {
	watched := -1
	ctx := vemlo.WithProgress(background, func(vemlo.Progress) bool {
		watched = goroutinesOf("vemlo.watch")
		return true
	})
	_, err := openS3(t).Buckets(ctx)
	must(err)
	if watched != 0 {
		t.Errorf("%d goroutines", watched)
	}
}
