package vemlo

// #include "bridge.h"
import "C"

import (
	"context"
	"errors"
	"runtime"
	"runtime/cgo"
	"time"
)

// Progress is how far a call has come.
type Progress struct {
	// Service and Operation are those of the last request.
	Service   Service
	Operation string
	// Requests counts retries and token requests, too.
	Requests uint64
	// Bytes is the size of the bodies of the responses, decompressed.
	Bytes uint64
	// Entries counts buckets or folders, and whatever else the service lists beside them.
	Entries uint64
}

type progressKey struct{}

// WithProgress returns a context that lets the calls that it is given to report their progress:
// report is called after each request, on the goroutine that made the call. If report returns
// false, the call ends with the kind Cancelled, unless it needs no further request.
//
// A panic in report ends the call and continues in the goroutine that made it. report may make
// calls itself, which are not reported; it must not call runtime.Goexit.
func WithProgress(ctx context.Context, report func(Progress) bool) context.Context {
	return context.WithValue(ctx, progressKey{}, report)
}

// A call is what the callbacks need of the call in which they run.
type call struct {
	report   func(Progress) bool
	panicked bool
	reason   any
}

// callOf returns the call in which a callback runs. A program that makes calls by C itself may have
// none; a panic then ends the program.
func callOf(handle C.uintptr_t) *call {
	if handle == 0 {
		return nil
	}
	return cgo.Handle(handle).Value().(*call)
}

// protect runs a callback of the host. A panic must not unwind the frames of C, so it is kept until
// the call has returned.
func (c *call) protect(callback func()) {
	if c == nil {
		callback()
		return
	}
	returned := false
	defer func() {
		if !returned {
			c.panicked, c.reason = true, recover()
		}
	}()
	callback()
	returned = true
}

//export vemloGoProgress
func vemloGoProgress(progress *C.vemlo_client_progress, handle C.uintptr_t) C.int {
	c := callOf(handle)
	goOn := false
	c.protect(func() {
		goOn = c.report(Progress{
			Service:   Service(progress.service),
			Operation: C.GoString(progress.operation),
			Requests:  uint64(progress.requests),
			Bytes:     uint64(progress.bytes),
			Entries:   uint64(progress.entries),
		})
	})
	if goOn && !c.panicked {
		return 0
	}
	return 1
}

// run makes one call of the C interface. The deadline, the cancellation, the callback, the failure
// and the extent of a listing belong to the thread, so the goroutine keeps its thread meanwhile.
func run(ctx context.Context, service Service,
	function func() C.int) (cutShort bool, err error) {
	cancellation, stop, err := watch(ctx, service)
	if err != nil {
		return false, err
	}
	defer stop()
	c := &call{}
	c.report, _ = ctx.Value(progressKey{}).(func(Progress) bool)
	handle := cgo.NewHandle(c)
	defer handle.Delete()

	runtime.LockOSThread()
	former := C.vemlo_go_set_thread(C.vemlo_go_thread{
		deadline:         deadlineOf(ctx),
		cancellation:     cancellation,
		reports_progress: cBool(c.report != nil),
		call:             C.uintptr_t(handle),
	})
	C.vemlo_client_reset_last_failure()
	code := function()
	if code == 0 {
		cutShort = C.vemlo_client_was_listing_cut_short() != 0
	} else {
		err = lastFailure(ctx, service, int(code))
	}
	C.vemlo_go_set_thread(former)
	runtime.UnlockOSThread()

	if c.panicked {
		panic(c.reason)
	}
	return cutShort, err
}

// watch returns a cancellation that is triggered when ctx ends, null if ctx does not end, and what
// stops and releases it.
func watch(ctx context.Context, service Service) (*C.vemlo_client_cancellation, func(), error) {
	if ctx.Done() == nil {
		return nil, func() {}, nil
	}
	cancellation := C.vemlo_client_cancellation_create()
	if cancellation == nil {
		return nil, nil, hostFault(service, "there is no memory or file descriptor", nil)
	}
	release := func() { C.vemlo_client_cancellation_release(cancellation) }
	if ctx.Err() != nil {
		if endsByCancellation(ctx) {
			C.vemlo_client_cancellation_trigger(cancellation)
		}
		return cancellation, release, nil
	}
	returned, watched := make(chan struct{}), make(chan struct{})
	go func() {
		defer close(watched)
		select {
		case <-ctx.Done():
			if endsByCancellation(ctx) {
				C.vemlo_client_cancellation_trigger(cancellation)
			}
		case <-returned:
		}
	}()
	stop := func() {
		close(returned)
		<-watched
		release()
	}
	return cancellation, stop, nil
}

// endsByCancellation tells whether ctx has ended otherwise than by its deadline, of which the call
// is told in advance, so that it fails with the kind Deadline.
func endsByCancellation(ctx context.Context) bool {
	err := ctx.Err()
	_, hasDeadline := ctx.Deadline()
	return err != nil && !(hasDeadline && errors.Is(err, context.DeadlineExceeded))
}

// deadlineOf is the deadline of ctx on the clock of the C interface, 0 if there is none.
func deadlineOf(ctx context.Context) C.int64_t {
	deadline, hasDeadline := ctx.Deadline()
	if !hasDeadline {
		return 0
	}
	left := time.Until(deadline)
	if left <= 0 {
		return 1 // has passed
	}
	// Rounded up, so that the call does not end before the context.
	return C.vemlo_client_now() + 1 + C.int64_t(left/time.Millisecond)
}

func cBool(value bool) C.int {
	if value {
		return 1
	}
	return 0
}
