package vemlo_test

import (
	"errors"
	"net/url"
	"testing"
	"time"

	"vemlo"
)

func queryOf(t *testing.T, address string, err error) url.Values {
	t.Helper()
	must(err)
	parsed, err := url.Parse(address)
	must(err)
	return parsed.Query()
}

func TestTheAddressForConsentHasTheStateAndTheProofKey(t *testing.T) {
	drive := openDrive(t, vemlo.GoogleDrive, "access")
	address, err := drive.AuthorizeURL("a state")
	query := queryOf(t, address, err)
	if query.Get("state") != "a state" || query.Get("code_challenge") == "" {
		t.Errorf("%v", query)
	}
	address, err = drive.AuthorizeURL("")
	if query := queryOf(t, address, err); query.Has("state") {
		t.Errorf("%v", query)
	}
	if _, err := drive.AuthorizeURL("\n"); !errors.Is(err, vemlo.HostFault) {
		t.Error(err)
	}
}

func TestTheAddressForConsentHasTheApplication(t *testing.T) {
	id, uri := "client-1", "https://vemlo.example/back"
	reopen(t, vemlo.Settings{DisablePKCE: true, Applications: map[vemlo.Service]vemlo.Application{
		vemlo.GoogleDrive: {ClientID: &id, RedirectURI: &uri}}})
	drive := openDrive(t, vemlo.GoogleDrive, "access")
	address, err := drive.AuthorizeURL("")
	query := queryOf(t, address, err)
	if query.Get("client_id") != id || query.Get("redirect_uri") != uri || query.Has("code_challenge") {
		t.Errorf("%v", query)
	}
	must(drive.Close())
}

func TestOnlyOneDriveHasALogoutAddress(t *testing.T) {
	for _, service := range drives {
		address, err := openDrive(t, service, "access").LogoutURL()
		if err != nil || (address != "") != (service == vemlo.OneDrive) {
			t.Errorf("%v: %q %v", service, address, err)
		}
	}
}

var drives = []vemlo.Service{vemlo.AmazonDrive, vemlo.GoogleDrive, vemlo.OneDrive, vemlo.Dropbox}

func TestOnlyDrivesAreOpenedAsDrives(t *testing.T) {
	for _, service := range []vemlo.Service{0, vemlo.ServiceS3, vemlo.ServiceAzureBlobs, 7} {
		if _, err := library.OpenDrive(service, vemlo.Proxy{}); !errors.Is(err, vemlo.HostFault) {
			t.Errorf("%v: %v", service, err)
		}
	}
}

func TestACodeIsExchangedForTokens(t *testing.T) {
	drive := openDrive(t, vemlo.GoogleDrive, "access")
	_, err := drive.AuthorizeURL("")
	must(err)
	tokens, err := drive.Link(background, "1")
	if err != nil || tokens != (vemlo.Tokens{Access: "access-1", Refresh: "refresh-1"}) {
		t.Errorf("%v %v", tokens, err)
	}
	_, err = drive.Link(background, "bad")
	if failure := failureOf(t, err); failure.Code != 337 || failure.ServiceCode != "invalid_grant" {
		t.Errorf("%+v", failure)
	}
}

func TestTheTokensOfDropboxAreOneText(t *testing.T) {
	drive := openDrive(t, vemlo.Dropbox, "access")
	_, err := drive.AuthorizeURL("")
	must(err)
	tokens, err := drive.Link(background, "1")
	must(err)
	if tokens.Access == "" || tokens.Access == "access-1" || tokens.Refresh != "" {
		t.Errorf("%v", tokens)
	}
}

func TestFoldersAreListedAndCreated(t *testing.T) {
	drive := openDrive(t, vemlo.GoogleDrive, "access")
	root, err := drive.Root(background)
	if err != nil || root != (vemlo.Folder{Name: "My Drive", ID: "root-id"}) {
		t.Errorf("%v %v", root, err)
	}
	listing, err := drive.Folders(background, root.ID)
	if err != nil || len(listing.Folders) != 2 ||
		listing.Folders[1] != (vemlo.Folder{Name: "書類", ID: "id-2"}) {
		t.Errorf("%v %v", listing, err)
	}
	created, err := drive.CreateFolder(background, root.ID, "new")
	if err != nil || created != (vemlo.Folder{Name: "as the service says", ID: "new-id"}) {
		t.Errorf("%v %v", created, err)
	}
}

func TestTheRootOfDropboxIsKnown(t *testing.T) {
	before := requestCount()
	root, err := openDrive(t, vemlo.Dropbox, "access").Root(background)
	if err != nil || root != (vemlo.Folder{Name: "/", ID: "/"}) || requestCount() != before {
		t.Errorf("%v %v", root, err)
	}
}

func TestRenewedTokensAreReported(t *testing.T) {
	drive := openDrive(t, vemlo.GoogleDrive, "expired")
	_, err := drive.Folders(background, "folder")
	must(err)
	want := vemlo.RenewedTokens{Service: vemlo.GoogleDrive, UsedRefresh: "refresh",
		Tokens: vemlo.Tokens{Access: "fresh", Refresh: "rotated"}, Lifetime: 1800 * time.Second}
	if got := <-renewed; got != want {
		t.Errorf("%+v", got)
	}
}

func TestRevokedTokensRequireANewLink(t *testing.T) {
	drive := openDrive(t, vemlo.GoogleDrive, "expired")
	must(drive.SetTokens(vemlo.Tokens{Access: "expired", Refresh: "revoked"}))
	_, err := drive.Root(background)
	if !errors.Is(err, vemlo.LinkAgain) || failureOf(t, err).Code != 1 {
		t.Error(err)
	}
}

func TestAPanicInTheCallbackForTokensContinuesAfterTheCall(t *testing.T) {
	other := settings()
	other.TokensRenewed = func(vemlo.RenewedTokens) { panic("out of tokens") }
	reopen(t, other)
	drive := openDrive(t, vemlo.GoogleDrive, "expired")
	if reason := recovered(func() { _, _ = drive.Root(background) }); reason != "out of tokens" {
		t.Error(reason)
	}
	if _, err := drive.Root(background); err != nil { // with the tokens that were renewed
		t.Error(err)
	}
	must(drive.Close())
}

func TestTheAccountOfTokens(t *testing.T) {
	account, err := library.AccountOf(background, vemlo.GoogleDrive,
		vemlo.Tokens{Access: "access"}, cloud.proxy)
	want := vemlo.Account{Name: "Ana", Email: "ana@vemlo.example", UsedSpace: 7, TotalSpace: -1}
	if err != nil || account != want {
		t.Errorf("%+v %v", account, err)
	}
	_, err = library.AccountOf(background, vemlo.GoogleDrive, vemlo.Tokens{}, cloud.proxy)
	if failureOf(t, err).Code != -1 {
		t.Error(err)
	}
}

func TestFunctionsOfAmazonDriveFailOnOtherDrives(t *testing.T) {
	drive := openDrive(t, vemlo.GoogleDrive, "access")
	for _, err := range []error{drive.FindEndpoints(background), drive.LogAccount(background)} {
		if !errors.Is(err, vemlo.HostFault) {
			t.Error(err)
		}
	}
}
