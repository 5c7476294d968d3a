package vemlo

// #include "bridge.h"
import "C"

import "context"

// Tokens authorize a session with a drive. They are secret.
type Tokens struct {
	// Access is the access token. For Dropbox it is a text that holds both tokens, unless
	// Settings.DisableDurableDropboxTokens is set.
	Access string
	// Refresh is the refresh token; empty for Dropbox.
	Refresh string
}

// A Drive is a session with Google Drive, OneDrive, Dropbox or Amazon Drive. Its methods may be
// called by several goroutines at once, except Link and SetTokens.
type Drive struct {
	*session
	functions *C.vemlo_go_drive
}

// OpenDrive opens a session with a drive service. Nothing is requested, and the session is not
// authorized yet: Link authorizes it, or SetTokens with tokens that were stored earlier.
func (l *Library) OpenDrive(service Service, proxy Proxy) (*Drive, error) {
	functions := C.vemlo_go_drive_of(C.int32_t(service))
	if functions == nil {
		return nil, hostFault(service, "the service is not a drive", nil)
	}
	var texts texts
	cProxy := texts.addProxy(proxy)
	session, err := l.open(service, texts, func() *C.session {
		return C.vemlo_go_drive_open(functions, cProxy)
	})
	if err != nil {
		return nil, err
	}
	return &Drive{session, functions}, nil
}

// Service returns the service of the session.
func (d *Drive) Service() Service { return d.service }

// AuthorizeURL returns the address of the page on which a user grants access to an account. The
// service returns state, if it is not empty, unchanged beside the code, so that the host recognizes
// its own request. It has at most 500 bytes, and should be hard to guess and used once. Nothing is
// requested.
func (d *Drive) AuthorizeURL(state string) (string, error) {
	var texts texts
	cState := texts.add("the state", state)
	return d.url(request{texts: texts}, func(url **C.char) C.int {
		return C.vemlo_go_drive_authorize_url(d.functions, d.handle, cState, url)
	})
}

// LogoutURL returns the address that signs a user out and then redirects to the redirect page. It
// is empty for services that have none, which are all but OneDrive. Nothing is requested.
func (d *Drive) LogoutURL() (string, error) {
	return d.url(request{}, func(url **C.char) C.int {
		return C.vemlo_go_drive_logout_url(d.functions, d.handle, url)
	})
}

func (d *Drive) url(r request, function func(url **C.char) C.int) (string, error) {
	var url *C.char
	defer releaseText(&url)
	if _, err := d.run(context.Background(), r, func() C.int { return function(&url) }); err != nil {
		return "", err
	}
	return C.GoString(url), nil
}

// Link exchanges the code that the service passed to the redirect page for tokens, and authorizes
// the session with them. The code is percent-decoded and valid for one exchange. Unless
// Settings.DisablePKCE is set, it must belong to the last address that this session made.
//
// No other call may run on the session: Link and the other call would fail with ErrInUse.
//
// If the exchange fails, the log of the library contains the code and tokens in clear text.
func (d *Drive) Link(ctx context.Context, code string) (Tokens, error) {
	var access, refresh *C.char
	defer releaseText(&access)
	defer releaseText(&refresh)
	var texts texts
	cCode := texts.add("the code", code)
	_, err := d.run(ctx, request{texts, true}, func() C.int {
		return C.vemlo_go_drive_link(d.functions, d.handle, cCode, &access, &refresh)
	})
	if err != nil {
		return Tokens{}, err
	}
	return Tokens{C.GoString(access), C.GoString(refresh)}, nil
}

// SetTokens authorizes the session with tokens that were stored earlier. They are not checked:
// invalid ones make the next call fail. Nothing is requested. No other call may run on the session.
func (d *Drive) SetTokens(tokens Tokens) error {
	var texts texts
	access := texts.add("the access token", tokens.Access)
	refresh := texts.add("the refresh token", tokens.Refresh)
	_, err := d.run(context.Background(), request{texts, true}, func() C.int {
		return C.vemlo_go_drive_set_tokens(d.functions, d.handle, access, refresh)
	})
	return err
}

// Root returns the account's root folder. That of Dropbox is known without a request.
func (d *Drive) Root(ctx context.Context) (Folder, error) {
	if d.service == Dropbox {
		return Folder{Name: "/", ID: "/"}, nil
	}
	return d.folder(ctx, request{}, func(root **C.directory) C.int {
		return C.vemlo_go_drive_root(d.functions, d.handle, root)
	})
}

// Folders lists the folders directly below the folder with an ID.
func (d *Drive) Folders(ctx context.Context, id string) (Listing, error) {
	var texts texts
	cID := texts.add("the folder's ID", id)
	return d.list(ctx, request{texts: texts}, func(folders **C.directory, count *C.int) C.int {
		return C.vemlo_go_drive_list(d.functions, d.handle, cID, folders, count)
	})
}

// CreateFolder creates a folder below the folder with an ID and returns it, with the name that the
// service reports. Google Drive creates a second folder if there is one of this name.
func (d *Drive) CreateFolder(ctx context.Context, parentID, name string) (Folder, error) {
	var texts texts
	parent := texts.add("the folder's ID", parentID)
	cName := texts.add("the name", name)
	return d.folder(ctx, request{texts: texts}, func(created **C.directory) C.int {
		return C.vemlo_go_drive_create(d.functions, d.handle, parent, cName, created)
	})
}

func (d *Drive) folder(ctx context.Context, r request,
	function func(folder **C.directory) C.int) (Folder, error) {
	var record *C.directory
	defer func() { C.free_directory(record) }()
	if _, err := d.run(ctx, r, func() C.int { return function(&record) }); err != nil {
		return Folder{}, err
	}
	return Folder{Name: C.GoString(record.name), ID: C.GoString(record.id)}, nil
}

// FindEndpoints requests the addresses at which the account is served, even if they are known.
// Other calls request them when necessary. Amazon Drive only.
func (d *Drive) FindEndpoints(ctx context.Context) error {
	_, err := d.run(ctx, request{}, func() C.int {
		return C.amazon_drive_get_endpoint(d.handle)
	})
	return err
}

// LogAccount checks that the session's tokens are valid by reading the account's profile. On
// success the library logs the name and the e-mail address of the account's holder. Amazon Drive
// only.
func (d *Drive) LogAccount(ctx context.Context) error {
	_, err := d.run(ctx, request{}, func() C.int {
		return C.amazon_drive_test_api(d.handle)
	})
	return err
}
