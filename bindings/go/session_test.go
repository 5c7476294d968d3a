package vemlo_test

import (
	"context"
	"errors"
	"testing"

	"vemlo"
)

func TestBucketsAreListedAndCreated(t *testing.T) {
	s3 := openS3(t)
	buckets, err := s3.Buckets(background)
	must(err)
	if len(buckets.Names) != 2 || buckets.Names[0] != "first" || buckets.Names[1] != "second" || buckets.CutShort {
		t.Errorf("%+v", buckets)
	}
	must(s3.CreateBucket(background, "bucket", vemlo.Locations(vemlo.Customized)[0].Code))
	must(s3.CreateFolder(background, "bucket", "photos/2020/"))
}

func TestS3FoldersAreThoseOfAllPages(t *testing.T) {
	listing, err := openS3(t).Folders(background, "pages", "")
	must(err)
	if len(listing.Folders) != 5 || listing.CutShort ||
		listing.Folders[4] != (vemlo.Folder{Name: "page4/"}) {
		t.Errorf("%+v", listing)
	}
}

func TestWithoutWholeListingsS3FoldersAreCutShort(t *testing.T) {
	reopen(t, vemlo.Settings{DisableWholeS3Listings: true})
	s3 := openS3(t)
	listing, err := s3.Folders(background, "pages", "")
	must(err)
	if len(listing.Folders) != 1 || !listing.CutShort {
		t.Errorf("%+v", listing)
	}
	must(s3.Close()) // before the library is opened again
}

func TestAnEmptyListingHasNoFolders(t *testing.T) {
	listing, err := openS3(t).Folders(background, "none", "")
	if err != nil || len(listing.Folders) != 0 || listing.CutShort {
		t.Errorf("%+v %v", listing, err)
	}
	listing, err = openDrive(t, vemlo.GoogleDrive, "access").Folders(background, "empty")
	if err != nil || len(listing.Folders) != 0 || listing.CutShort {
		t.Errorf("%+v %v", listing, err)
	}
}

func TestCallsOnAClosedSessionFail(t *testing.T) {
	s3, drive := openS3(t), openDrive(t, vemlo.GoogleDrive, "access")
	for i := 0; i < 2; i++ {
		must(s3.Close())
		must(drive.Close())
	}
	_, listed := s3.Buckets(background)
	_, url := drive.AuthorizeURL("")
	for _, err := range []error{listed, url, drive.SetTokens(vemlo.Tokens{}), s3.CreateFolder(background, "b", "f/")} {
		if !errors.Is(err, vemlo.ErrClosed) || !errors.Is(err, vemlo.HostFault) {
			t.Error(err)
		}
	}
}

func TestCallsThatRunCompleteOnASessionThatIsClosed(t *testing.T) {
	s3 := openS3(t)
	ctx := vemlo.WithProgress(background, func(vemlo.Progress) bool {
		must(s3.Close())
		return true
	})
	listing, err := s3.Folders(ctx, "pages", "")
	if err != nil || len(listing.Folders) != 5 {
		t.Errorf("%+v %v", listing, err)
	}
	if _, err := s3.Buckets(background); !errors.Is(err, vemlo.ErrClosed) {
		t.Error(err)
	}
}

// during runs a function while a call on a session runs.
func during(t *testing.T, call func(ctx context.Context) error, function func()) {
	t.Helper()
	ctx, cancel := context.WithCancel(background)
	returned := make(chan error)
	go func() { returned <- call(ctx) }()
	<-cloud.arrived
	function()
	cancel()
	if err := <-returned; !errors.Is(err, context.Canceled) {
		t.Error(err)
	}
}

func TestTheLibraryStaysOpenWhileACallRuns(t *testing.T) {
	s3 := openS3(t)
	call := func(ctx context.Context) error { _, err := s3.Folders(ctx, "silent", ""); return err }
	during(t, call, func() {
		must(s3.Close())
		if err := library.Close(); !errors.Is(err, vemlo.ErrInUse) {
			t.Error(err)
		}
	})
	reopen(t, settings()) // the session was released when the call had returned
}

func TestLinkAndSetTokensMustBeAlone(t *testing.T) {
	drive := openDrive(t, vemlo.GoogleDrive, "access")
	call := func(ctx context.Context) error { _, err := drive.Folders(ctx, "silent"); return err }
	during(t, call, func() {
		if err := drive.SetTokens(vemlo.Tokens{}); !errors.Is(err, vemlo.ErrInUse) {
			t.Error(err)
		}
		if _, err := drive.Link(background, "code"); !errors.Is(err, vemlo.ErrInUse) {
			t.Error(err)
		}
		if _, err := drive.Root(background); err != nil {
			t.Error(err)
		}
	})
	must(drive.SetTokens(vemlo.Tokens{Access: "access"}))
}

func TestOneLibraryIsOpenAtATime(t *testing.T) {
	if _, err := vemlo.Open(vemlo.Settings{}); !errors.Is(err, vemlo.ErrInUse) {
		t.Error(err)
	}
	s3 := openS3(t)
	if err := library.Close(); !errors.Is(err, vemlo.ErrInUse) {
		t.Error(err)
	}
	must(s3.Close())
	former := library
	reopen(t, settings())
	must(former.Close())
	if _, err := former.OpenS3(vemlo.S3Config{}); !errors.Is(err, vemlo.ErrClosed) {
		t.Error(err)
	}
	if _, err := former.Encrypt("text"); !errors.Is(err, vemlo.ErrClosed) {
		t.Error(err)
	}
}

func TestSettingsThatAreNotAcceptableLeaveTheLibraryClosed(t *testing.T) {
	must(library.Close())
	empty := ""
	for _, settings := range []vemlo.Settings{
		{Applications: map[vemlo.Service]vemlo.Application{vemlo.GoogleDrive: {ClientID: &empty}}},
		{Applications: map[vemlo.Service]vemlo.Application{vemlo.ServiceS3: {}}},
		{TrustFile: "a\x00b"},
	} {
		if _, err := vemlo.Open(settings); !errors.Is(err, vemlo.HostFault) {
			t.Error(err)
		}
	}
	var err error
	library, err = vemlo.Open(settings())
	must(err)
}

func TestLocationsEndBeforeTheEndOfTheirTable(t *testing.T) {
	for flavour, count := range map[vemlo.Flavour]int{vemlo.Customized: 1, vemlo.Flavour(9): 0} {
		if got := vemlo.Locations(flavour); len(got) != count {
			t.Errorf("%v", got)
		}
	}
	for _, flavour := range []vemlo.Flavour{vemlo.AWS, vemlo.China, vemlo.Wasabi} {
		locations := vemlo.Locations(flavour)
		if len(locations) == 0 {
			t.Error("there are no locations")
		}
		for _, location := range locations {
			if location.Name == "" || location.Code < 0 || location.Code > 16 {
				t.Errorf("%+v", location)
			}
		}
	}
}

func TestEncryptedTextsAreDecrypted(t *testing.T) {
	const text = "a secret, \xff and 書類"
	encrypted, err := library.Encrypt(text)
	must(err)
	decrypted, err := library.Decrypt(encrypted)
	if err != nil || decrypted != text || encrypted == text {
		t.Errorf("%q %v", decrypted, err)
	}
	if _, err := library.Decrypt("of no use"); !errors.Is(err, vemlo.HostFault) {
		t.Error(err)
	}
}
