package vemlo

// #include "bridge.h"
import "C"

import (
	"context"
	"errors"
	"math"
	"time"
)

var (
	// ErrClosed is wrapped by the failure of a call on a session or a library that is closed.
	ErrClosed = errors.New("closed")
	// ErrInUse is wrapped by the failure of a call that must not be made while others run.
	ErrInUse = errors.New("in use")
)

// seconds converts a number of seconds that a service has sent, however large. Negative numbers,
// which stand for none, stay negative.
func seconds(number C.int64_t) time.Duration {
	if number > C.int64_t(math.MaxInt64/time.Second) {
		return math.MaxInt64
	}
	if number < 0 {
		return -1
	}
	return time.Duration(number) * time.Second
}

// kindOf returns the kind of a number of the C interface.
func kindOf(number C.int32_t) Kind {
	if number < C.VEMLO_CLIENT_LINK_AGAIN || number > C.VEMLO_CLIENT_HOST_FAULT {
		return NotUnderstood
	}
	return Kind(number)
}

// What the C functions return for bad arguments.
const badArguments = -1

// A Failure is what failed calls return. All errors of this package are of this type.
//
// errors.Is tells its Kind, and the reason where that is an error of another package:
// context.Canceled and context.DeadlineExceeded if the call's context has ended the call.
type Failure struct {
	Kind Kind
	// Service is 0 if no service was concerned.
	Service Service
	// Code is the result of the C function: -1 for bad arguments, after which nothing was requested
	// from the service.
	Code int
	// Number is the error's number as listed in error-codes.md, 0 if there is none.
	Number int
	// HTTPStatus is 0 if there was no response.
	HTTPStatus int
	// RetryAfter is when the service allows another attempt; negative if it did not say.
	RetryAfter time.Duration
	// Operation is what failed, such as "listFileResource".
	Operation string
	// ServiceCode is the error's name as the service or the transport reported it.
	ServiceCode string
	// ServiceMessage is the service's own message.
	ServiceMessage string
	// RequestID is what the service calls the request in its own logs.
	RequestID string

	sentence string // in place of one that is made of the operation
	cause    error
}

// Error returns one sentence, such as "listFileResource failed (denied): insufficientPermissions:
// The user does not have sufficient permissions". It contains no secret.
func (f *Failure) Error() string {
	if f.sentence != "" {
		return f.sentence
	}
	text := f.Operation + " failed (" + f.Kind.Error() + ")"
	for _, detail := range []string{f.ServiceCode, f.ServiceMessage} {
		if detail != "" {
			text += ": " + detail
		}
	}
	return text
}

// Is reports whether target is the Kind of the failure.
func (f *Failure) Is(target error) bool {
	kind, isKind := target.(Kind)
	return isKind && kind == f.Kind
}

// Unwrap returns the reason if it is an error of another kind, and nil otherwise.
func (f *Failure) Unwrap() error { return f.cause }

// hostFault is the failure of a call that was not made, or not accepted.
func hostFault(service Service, sentence string, cause error) *Failure {
	return &Failure{Kind: HostFault, Service: service, Code: badArguments, RetryAfter: -1,
		sentence: sentence, cause: cause}
}

// lastFailure returns the failure of the call that this thread has just made.
func lastFailure(ctx context.Context, service Service, code int) *Failure {
	if code == badArguments {
		return hostFault(service, "the arguments are not acceptable", nil)
	}
	record := C.vemlo_client_failure{size: C.sizeof_vemlo_client_failure}
	C.vemlo_client_get_last_failure(&record)
	if record.kind == C.VEMLO_CLIENT_NO_FAILURE {
		// All requests succeeded, but the library cannot do what it should with the responses.
		return &Failure{Kind: NotUnderstood, Service: service, Code: code, RetryAfter: -1,
			sentence: "the service's response lacks what was asked for"}
	}
	failure := &Failure{
		Kind:           kindOf(record.kind),
		Service:        Service(record.service),
		Code:           code,
		Number:         int(record.error),
		HTTPStatus:     int(record.http_status),
		RetryAfter:     seconds(record.retry_after),
		Operation:      C.GoString(record.operation),
		ServiceCode:    C.GoString(record.code),
		ServiceMessage: C.GoString(record.message),
		RequestID:      C.GoString(record.request_id),
	}
	switch {
	case failure.Kind == Deadline:
		// Only contexts set one. The call may have ended a little before the context does.
		failure.cause = context.DeadlineExceeded
	case failure.Kind == Cancelled && endsByCancellation(ctx):
		failure.cause = ctx.Err()
	}
	return failure
}
