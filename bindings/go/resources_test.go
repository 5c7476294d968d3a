package vemlo_test

import (
	"context"
	"errors"
	"os"
	"runtime"
	"strings"
	"sync"
	"testing"

	"vemlo"
	"vemlo/internal/cmemory"
)

// memoryInUse is what C and Go have allocated.
func memoryInUse() int {
	runtime.GC()
	var statistics runtime.MemStats
	runtime.ReadMemStats(&statistics)
	return cmemory.InUse() + int(statistics.HeapAlloc)
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
	threads, memory := countEntries("/proc/self/task"), memoryInUse()
	for i := 0; i < 4; i++ {
		listAll()
	}
	// Go keeps a thread per call that has run at once with others, which differs a little.
	if now := countEntries("/proc/self/task"); now > threads+goroutines/4 {
		t.Errorf("%d threads, %d before", now, threads)
	}
	// Less than 1 KiB per call. Each thread keeps some of what it has released.
	if now := memoryInUse(); now > memory+goroutines*times*4*2*1024 {
		t.Errorf("%d bytes in use, %d before", now, memory)
	}
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
