package vemlo_test

import (
	"context"
	"errors"
	"runtime"
	"testing"
	"time"

	"vemlo"
)

// cancelInside makes a call whose context ends while the service does not respond.
func cancelInside(ctx context.Context, cancel func(), s3 *vemlo.S3) error {
	returned := make(chan error)
	go func() {
		_, err := s3.Folders(ctx, "silent", "")
		returned <- err
	}()
	<-cloud.arrived
	cancel()
	return <-returned
}

func assertUsable(t *testing.T, s3 *vemlo.S3) {
	t.Helper()
	if buckets, err := s3.Buckets(background); err != nil || len(buckets.Names) != 2 {
		t.Errorf("%v %v", buckets, err)
	}
}

func TestCancellingTheContextEndsACall(t *testing.T) {
	s3 := openS3(t)
	ctx, cancel := context.WithCancel(background)
	err := cancelInside(ctx, cancel, s3)
	if !errors.Is(err, context.Canceled) || !errors.Is(err, vemlo.Cancelled) {
		t.Error(err)
	}
	assertUsable(t, s3)
}

func TestCancellingAContextWithADeadlineIsNoDeadline(t *testing.T) {
	s3 := openS3(t)
	ctx, cancel := context.WithTimeout(background, time.Hour)
	err := cancelInside(ctx, cancel, s3)
	if !errors.Is(err, context.Canceled) || errors.Is(err, vemlo.Deadline) {
		t.Error(err)
	}
}

// A strangeContext ends with an error of its own.
type strangeContext struct {
	context.Context
	ended chan struct{}
}

var errStrange = errors.New("strange")

func (c strangeContext) Done() <-chan struct{} { return c.ended }
func (c strangeContext) Err() error {
	select {
	case <-c.ended:
		return errStrange
	default:
		return nil
	}
}

func TestTheErrorOfTheContextIsTheReason(t *testing.T) {
	ctx := strangeContext{background, make(chan struct{})}
	err := cancelInside(ctx, func() { close(ctx.ended) }, openS3(t))
	if !errors.Is(err, errStrange) || !errors.Is(err, vemlo.Cancelled) {
		t.Error(err)
	}
}

func TestTheDeadlineOfTheContextEndsACall(t *testing.T) {
	s3 := openS3(t)
	ctx, cancel := context.WithTimeout(background, 50*time.Millisecond)
	defer cancel()
	_, err := s3.Folders(ctx, "silent", "")
	if !errors.Is(err, context.DeadlineExceeded) || !errors.Is(err, vemlo.Deadline) {
		t.Error(err)
	}
	<-cloud.arrived
	assertUsable(t, s3)
}

func TestAContextThatHasEndedSendsNothing(t *testing.T) {
	s3 := openS3(t)
	cancelled, cancel := context.WithCancel(background)
	cancel()
	passed, cancel := context.WithDeadline(background, time.Unix(0, 0))
	defer cancel()
	before := requestCount()
	if _, err := s3.Buckets(cancelled); !errors.Is(err, context.Canceled) {
		t.Error(err)
	}
	if _, err := s3.Buckets(passed); !errors.Is(err, context.DeadlineExceeded) {
		t.Error(err)
	}
	if requestCount() != before {
		t.Error("something was requested")
	}
}

func TestWhatACallDependsOnIsRemovedFromItsThread(t *testing.T) {
	runtime.LockOSThread()
	defer runtime.UnlockOSThread()
	s3 := openS3(t)
	ctx, cancel := context.WithDeadline(background, time.Unix(0, 0))
	cancel()
	if _, err := s3.Buckets(vemlo.WithProgress(ctx, func(vemlo.Progress) bool { return false })); err == nil {
		t.Error("the call succeeded")
	}
	assertUsable(t, s3)
}

func TestProgressIsReportedAfterEachRequest(t *testing.T) {
	var reports []vemlo.Progress
	ctx := vemlo.WithProgress(background, func(progress vemlo.Progress) bool {
		reports = append(reports, progress)
		return true
	})
	listing, err := openS3(t).Folders(ctx, "pages", "")
	must(err)
	if len(listing.Folders) != 5 || len(reports) != 5 {
		t.Fatalf("%d folders, %d reports", len(listing.Folders), len(reports))
	}
	for i, report := range reports {
		count := uint64(i + 1)
		if report.Requests != count || report.Entries != count || report.Bytes < 50*count ||
			report.Service != vemlo.ServiceS3 || report.Operation == "" {
			t.Errorf("%+v", report)
		}
	}
}

func TestProgressEndsACall(t *testing.T) {
	s3 := openS3(t)
	ctx := vemlo.WithProgress(background, func(progress vemlo.Progress) bool {
		return progress.Requests < 2
	})
	before := requestCount()
	_, err := s3.Folders(ctx, "pages", "")
	if !errors.Is(err, vemlo.Cancelled) || errors.Is(err, context.Canceled) {
		t.Error(err)
	}
	if requestCount() != before+2 {
		t.Errorf("%d requests", requestCount()-before)
	}
	assertUsable(t, s3)
}

func recovered(function func()) (reason any) {
	defer func() { reason = recover() }()
	function()
	return nil
}

func TestAPanicInProgressEndsTheCallAndContinues(t *testing.T) {
	s3 := openS3(t)
	ctx := vemlo.WithProgress(background, func(vemlo.Progress) bool { panic("out of progress") })
	before := requestCount()
	reason := recovered(func() { _, _ = s3.Folders(ctx, "pages", "") })
	if reason != "out of progress" || requestCount() != before+1 {
		t.Errorf("%v after %d requests", reason, requestCount()-before)
	}
	assertUsable(t, s3)
}

func TestCallsInCallbacksLeaveTheirCallAsItWas(t *testing.T) {
	s3 := openS3(t)
	ends := map[error]func() (context.Context, func(), func()){
		context.Canceled: func() (context.Context, func(), func()) {
			ctx, cancel := context.WithCancel(background)
			return ctx, cancel, cancel
		},
		context.DeadlineExceeded: func() (context.Context, func(), func()) {
			ctx, cancel := context.WithTimeout(background, 100*time.Millisecond)
			return ctx, cancel, func() {}
		},
	}
	for reason, make := range ends {
		ctx, cancel, end := make()
		nested := 0
		ctx = vemlo.WithProgress(ctx, func(progress vemlo.Progress) bool {
			inner, cancelInner := context.WithTimeout(background, time.Minute)
			defer cancelInner()
			_, err := s3.Buckets(inner)
			must(err)
			if nested++; nested == 3 {
				end() // which the call notices only if it still depends on its own context
			}
			return true
		})
		_, err := s3.Folders(ctx, "endless", "")
		if !errors.Is(err, reason) || nested < 3 {
			t.Errorf("%v after %d nested calls", err, nested)
		}
		cancel()
	}
}
