package vemlo

// #cgo pkg-config: libvemlo
// #include "bridge.h"
import "C"

import (
	"sync"
	"sync/atomic"
	"time"
)

// An Application is a registration with a drive service. What is nil keeps its built-in value.
type Application struct {
	ClientID *string
	// ClientSecret is empty for applications that are registered as public clients.
	ClientSecret *string
	// RedirectURI is where the service sends users back to, as it is registered.
	RedirectURI *string
}

// RenewedTokens are the tokens of an account that have been renewed.
type RenewedTokens struct {
	Service Service
	// UsedRefresh is the refresh token with which the tokens were renewed. The host finds its
	// account by it.
	UsedRefresh string
	// Tokens are what to store from now on, and what Drive.SetTokens takes.
	Tokens Tokens
	// Lifetime is how long the access token is valid; negative if the service did not say.
	Lifetime time.Duration
}

// Settings concern the whole process. The zero value is what most programs want.
type Settings struct {
	// Verbosity of the log on standard error: 0 for failures only, 9 for every step. That of the
	// first library of the process counts.
	Verbosity int
	// Applications as which sessions act, by drive service.
	Applications map[Service]Application
	// DisablePKCE: consent is not bound to the session that asked for it. Otherwise a code can be
	// exchanged only by the session that made the address.
	DisablePKCE bool
	// DisableWholeS3Listings: S3.Folders gets one page of at most 1,000 keys, so that 1,000 files
	// hide all folders behind them.
	DisableWholeS3Listings bool
	// DisableDurableDropboxTokens: the access token of Dropbox is the service's own, and the account
	// ends after four hours. Otherwise it is a text that holds both tokens, which only this library
	// can use.
	DisableDurableDropboxTokens bool
	// TrustFile is a file with PEM certificates, and TrustFolder a folder with such files under
	// hashed names. They are trusted in place of the system's certificates, unless both are empty.
	TrustFile, TrustFolder string
	// TokensRenewed is called with tokens that have been renewed, on the goroutine whose call renewed
	// them, before that call continues. Without it, a program loses OneDrive accounts, whose refresh
	// token changes with each renewal. It is called once per renewal; calls of different goroutines
	// run it at the same time. It may make calls. A panic in it continues when the call has
	// returned; it must not call runtime.Goexit.
	TokensRenewed func(RenewedTokens)
}

// A Library is the library, open in this process. Its methods may be called by several goroutines
// at once.
type Library struct {
	mutex  sync.Mutex
	users  int // sessions, and calls without a session
	closed bool
}

var (
	isOpen  atomic.Bool
	renewed atomic.Pointer[func(RenewedTokens)]
)

// Open opens the library and applies the settings. At most one library is open at a time.
func Open(settings Settings) (*Library, error) {
	if !isOpen.CompareAndSwap(false, true) {
		return nil, hostFault(0, "the library is open already", ErrInUse)
	}
	if err := settings.apply(); err != nil {
		isOpen.Store(false)
		return nil, err
	}
	C.libvemlo_global_init()
	// The first session of a process sets up the log, which two threads must not do at once.
	empty := new(C.char)
	C.libvemlo_s3_cleanup(C.vemlo_go_open_s3(empty, empty, empty, empty, C.proxy_setting{}))
	return &Library{}, nil
}

// Close closes the library. It fails with ErrInUse, and changes nothing, while a session is open or
// a call runs. A library that is closed stays closed, and closing it again does nothing.
func (l *Library) Close() error {
	l.mutex.Lock()
	defer l.mutex.Unlock()
	if l.closed {
		return nil
	}
	if l.users > 0 {
		return hostFault(0, "a session is open or a call runs", ErrInUse)
	}
	l.closed = true
	C.vemlo_go_report_tokens(0)
	renewed.Store(nil)
	C.libvemlo_global_cleanup()
	isOpen.Store(false)
	return nil
}

// begin counts a user of the library, until end is called.
func (l *Library) begin() error {
	l.mutex.Lock()
	defer l.mutex.Unlock()
	if l.closed {
		return hostFault(0, "the library is closed", ErrClosed)
	}
	l.users++
	return nil
}

func (l *Library) end() {
	l.mutex.Lock()
	l.users--
	l.mutex.Unlock()
}

func (s *Settings) apply() error {
	for _, service := range []Service{AmazonDrive, GoogleDrive, OneDrive, Dropbox} {
		C.vemlo_client_set_application(C.int32_t(service), nil)
	}
	for service, application := range s.Applications {
		if err := application.apply(service); err != nil {
			return err
		}
	}
	var texts texts
	file, folder := texts.add("the trusted file", s.TrustFile), texts.add("the trusted folder", s.TrustFolder)
	if err := texts.failure(0); err != nil {
		return err
	}
	if C.vemlo_client_set_trust(file, folder) != 0 {
		return hostFault(0, "there is no memory", nil)
	}
	C.verbose = C.int(s.Verbosity)
	C.vemlo_client_set_pkce(cBool(!s.DisablePKCE))
	C.vemlo_client_set_whole_s3_listings(cBool(!s.DisableWholeS3Listings))
	C.vemlo_client_set_dropbox_durable_token(cBool(!s.DisableDurableDropboxTokens))
	if s.TokensRenewed != nil {
		callback := s.TokensRenewed
		renewed.Store(&callback)
		C.vemlo_go_report_tokens(1)
	}
	return nil
}

func (a *Application) apply(service Service) error {
	var texts texts
	optional := func(what string, text *string) *C.char {
		if text == nil {
			return nil
		}
		return texts.add(what, *text)
	}
	id := optional("the client ID", a.ClientID)
	secret := optional("the client secret", a.ClientSecret)
	uri := optional("the redirect URI", a.RedirectURI)
	if err := texts.failure(service); err != nil {
		return err
	}
	if C.vemlo_go_set_application(C.int32_t(service), id, secret, uri) != 0 {
		return hostFault(service, "the application's registration is not acceptable", nil)
	}
	return nil
}

//export vemloGoTokens
func vemloGoTokens(tokens *C.vemlo_client_tokens, handle C.uintptr_t) {
	callback := renewed.Load()
	if callback == nil {
		return
	}
	report := RenewedTokens{
		Service:     Service(tokens.service),
		UsedRefresh: C.GoString(tokens.used_refresh_token),
		Tokens: Tokens{
			Access:  C.GoString(tokens.access_token),
			Refresh: C.GoString(tokens.refresh_token),
		},
		Lifetime: seconds(tokens.lifetime),
	}
	callOf(handle).protect(func() { (*callback)(report) })
}
