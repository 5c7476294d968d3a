package vemlo

// #include "bridge.h"
import "C"

import (
	"context"
	"sync"
)

// A session is an open account, and counts the calls that run on it.
type session struct {
	library *Library
	service Service

	mutex   sync.Mutex
	handle  *C.session
	running int
	alone   bool // the call that runs excludes others
	closed  bool
}

// open registers a session, which `open` returns, with the library.
func (l *Library) open(service Service, what texts, open func() *C.session) (*session, error) {
	if err := what.failure(service); err != nil {
		return nil, err
	}
	if err := l.begin(); err != nil {
		return nil, err
	}
	handle := open()
	if handle == nil {
		l.end()
		return nil, notOpened(service)
	}
	return &session{library: l, service: service, handle: handle}, nil
}

func notOpened(service Service) *Failure {
	failure := hostFault(service, "the session cannot be opened", nil)
	if service == ServiceAzureBlobs {
		failure.Kind, failure.sentence = WrongKeys, "the key of the storage account is not base64"
	}
	return failure
}

// Close closes the session. Calls that begin afterwards fail; calls that run complete normally, and
// the last of them releases the session. Does not block. May be called several times, by any
// goroutine, also in callbacks. Always returns nil.
func (s *session) Close() error {
	s.mutex.Lock()
	defer s.mutex.Unlock()
	if !s.closed {
		s.closed = true
		s.releaseUnused()
	}
	return nil
}

func (s *session) releaseUnused() {
	if s.closed && s.running == 0 {
		C.libvemlo_s3_cleanup(s.handle) // closes sessions of any service
		s.handle = nil
		s.library.end()
	}
}

func (s *session) begin(alone bool) error {
	s.mutex.Lock()
	defer s.mutex.Unlock()
	if s.closed {
		return hostFault(s.service, "the session is closed", ErrClosed)
	}
	if s.alone || (alone && s.running > 0) {
		return hostFault(s.service, "another call on the session runs", ErrInUse)
	}
	s.running++
	s.alone = alone
	return nil
}

func (s *session) end() {
	s.mutex.Lock()
	defer s.mutex.Unlock()
	s.running--
	s.alone = false
	s.releaseUnused()
}

// A request is what a call on a session needs.
type request struct {
	texts texts
	alone bool // no other call may run on the session
}

func (s *session) run(ctx context.Context, r request, function func() C.int) (bool, error) {
	if err := r.texts.failure(s.service); err != nil {
		return false, err
	}
	if err := s.begin(r.alone); err != nil {
		return false, err
	}
	defer s.end()
	return run(ctx, s.service, function)
}
