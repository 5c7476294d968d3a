package vemlo

// #include "bridge.h"
import "C"

import (
	"context"
	"syscall"
)

// A Proxy is an HTTP proxy. The zero value is none.
type Proxy struct {
	Host string
	// Port is 1080 if it is 0.
	Port uint16
	// Username and Password are sent to the proxy unless Username is empty.
	Username, Password string
}

// An Account says whose account it is. A text that the service does not tell, or that the scopes of
// the tokens do not cover, is empty; such a number is negative.
type Account struct {
	Name  string
	Email string
	// UsedSpace is in bytes.
	UsedSpace int64
	// TotalSpace is in bytes. Negative also if there is no limit.
	TotalSpace int64
}

// AccountOf asks a drive service whose account the tokens belong to. The access token may be empty
// if there is a refresh token. Renewed tokens are reported to Settings.TokensRenewed.
func (l *Library) AccountOf(ctx context.Context, service Service, tokens Tokens,
	proxy Proxy) (Account, error) {
	var texts texts
	access := texts.add("the access token", tokens.Access)
	refresh := texts.add("the refresh token", tokens.Refresh)
	cProxy := texts.addProxy(proxy)
	if err := texts.failure(service); err != nil {
		return Account{}, err
	}
	if err := l.begin(); err != nil {
		return Account{}, err
	}
	defer l.end()
	var record C.vemlo_client_account
	defer C.vemlo_client_free_account(&record)
	_, err := run(ctx, service, func() C.int {
		return C.vemlo_go_account_of(C.int32_t(service), access, refresh, cProxy, &record)
	})
	if err != nil {
		return Account{}, err
	}
	return Account{
		Name:       C.GoString(record.name),
		Email:      C.GoString(record.email),
		UsedSpace:  int64(record.used_space),
		TotalSpace: int64(record.total_space),
	}, nil
}

// Encrypt encrypts a text with the fixed key of the library, so that a configuration file contains
// no secret in clear text. This hides a secret from a casual reader, not from a person who has this
// library. The result is base64 with a line break (CR LF) after every 72 characters; they may be
// removed.
func (l *Library) Encrypt(text string) (string, error) {
	return l.convert(text, "the text cannot be encrypted", func(text *C.char) *C.char {
		return C.encrypt_string(text)
	})
}

// Decrypt decrypts a text that Encrypt has encrypted. A text that was altered may become another
// plain text.
func (l *Library) Decrypt(text string) (string, error) {
	return l.convert(text, "the text cannot be decrypted", func(text *C.char) *C.char {
		return C.decrypt_string(text)
	})
}

func (l *Library) convert(text, problem string, function func(*C.char) *C.char) (string, error) {
	var texts texts
	argument := texts.add("the text", text)
	if err := texts.failure(0); err != nil {
		return "", err
	}
	if err := l.begin(); err != nil {
		return "", err
	}
	defer l.end()
	result := function(argument)
	defer releaseText(&result)
	if result == nil {
		return "", hostFault(0, problem, nil)
	}
	return C.GoString(result), nil
}

// StartRecording records every request and response of the process in a new file in the HAR 1.2
// format, until StopRecording. Tokens, keys and other secrets are redacted; names of folders are
// not. The reason of the failure is an error of the system, such as fs.ErrExist, if the file cannot
// be created.
func (l *Library) StartRecording(path string) error {
	var texts texts
	file := texts.add("the path", path)
	if err := texts.failure(0); err != nil {
		return err
	}
	return l.record("the recording cannot be started",
		func() C.int { return C.vemlo_client_start_recording(file) })
}

// StopRecording ends the recording. It fails if there is none, and if something could not be
// written; what was written before can be read.
func (l *Library) StopRecording() error {
	return l.record("the recording cannot be completed",
		func() C.int { return C.vemlo_client_stop_recording() })
}

func (l *Library) record(problem string, function func() C.int) error {
	if err := l.begin(); err != nil {
		return err
	}
	defer l.end()
	switch code := function(); {
	case code == 0:
		return nil
	case code < 0:
		return hostFault(0, problem, nil)
	default:
		cause := syscall.Errno(code)
		failure := hostFault(0, problem+": "+cause.Error(), cause)
		failure.Code = int(code)
		return failure
	}
}
