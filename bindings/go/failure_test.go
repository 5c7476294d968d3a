package vemlo_test

import (
	"errors"
	"io/fs"
	"math"
	"net/http"
	"path/filepath"
	"strings"
	"testing"

	"vemlo"
)

func failureOf(t *testing.T, err error) *vemlo.Failure {
	t.Helper()
	var failure *vemlo.Failure
	if !errors.As(err, &failure) {
		t.Fatalf("no failure: %v", err)
	}
	return failure
}

func TestFailureHasTheKindOfTheServicesError(t *testing.T) {
	s3 := openS3(t)
	kinds := map[string]vemlo.Kind{
		"AccessDenied":          vemlo.Denied,
		"NoSuchBucket":          vemlo.NotFound,
		"SignatureDoesNotMatch": vemlo.WrongKeys,
		"BucketAlreadyExists":   vemlo.ExistsAlready,
		"InvalidBucketName":     vemlo.NameNotAllowed,
	}
	for bucket, kind := range kinds {
		_, err := s3.Folders(background, bucket, "")
		if !errors.Is(err, kind) || errors.Is(err, vemlo.Wait) {
			t.Errorf("%s: %v", bucket, err)
		}
	}
}

func TestFailureHasTheFieldsOfTheServicesError(t *testing.T) {
	_, err := openS3(t).Folders(background, "AccessDenied", "")
	got := *failureOf(t, err)
	want := vemlo.Failure{Kind: vemlo.Denied, Service: vemlo.ServiceS3, Code: got.Code,
		Number: got.Code, HTTPStatus: http.StatusForbidden, RetryAfter: got.RetryAfter,
		Operation: got.Operation, ServiceCode: "AccessDenied", ServiceMessage: "about AccessDenied",
		RequestID: "request-1"}
	if got != want || got.Code <= 0 || got.RetryAfter >= 0 || got.Operation == "" {
		t.Errorf("%+v", got)
	}
	sentence := got.Operation + " failed (denied): AccessDenied: about AccessDenied"
	if err.Error() != sentence {
		t.Errorf("%q, not %q", err.Error(), sentence)
	}
}

func TestTimesBeyondTheRangeOfADurationAreItsLongest(t *testing.T) {
	_, err := openS3(t).Folders(background, "InvalidBucketName", "")
	if got := failureOf(t, err).RetryAfter; got != math.MaxInt64 {
		t.Error(got)
	}
}

func TestALocationThatIsNoNumberOfCIsBadArguments(t *testing.T) {
	before := cloud.requests.Load()
	err := openS3(t).CreateBucket(background, "bucket", 1<<32+16)
	if failureOf(t, err).Code != -1 || !errors.Is(err, vemlo.HostFault) {
		t.Error(err)
	}
	if cloud.requests.Load() != before {
		t.Error("a request was sent")
	}
}

func TestBadArgumentsAreAHostFault(t *testing.T) {
	err := openS3(t).CreateFolder(background, "bucket", "/begins with a slash/")
	failure := failureOf(t, err)
	if failure.Code != -1 || !errors.Is(err, vemlo.HostFault) || failure.HTTPStatus != 0 {
		t.Errorf("%+v", failure)
	}
}

func TestBadArgumentsDoNotHaveTheFailureOfAnEarlierCall(t *testing.T) {
	s3 := openS3(t)
	_, err := s3.Folders(background, "AccessDenied", "")
	failureOf(t, err)
	failure := failureOf(t, s3.CreateFolder(background, "bucket", "x"))
	if failure.ServiceCode != "" || failure.Kind != vemlo.HostFault {
		t.Errorf("%+v", failure)
	}
}

func TestTextsWithANULAreRefusedBeforeTheCall(t *testing.T) {
	s3, drive := openS3(t), openDrive(t, vemlo.GoogleDrive, "access")
	calls := map[string]func(text string) error{
		"bucket": func(text string) error { _, err := s3.Folders(background, text, ""); return err },
		"prefix": func(text string) error { _, err := s3.Folders(background, "echo", text); return err },
		"path":   func(text string) error { return s3.CreateFolder(background, "bucket", text+"/") },
		"new":    func(text string) error { return s3.CreateBucket(background, text, 16) },
		"id":     func(text string) error { _, err := drive.Folders(background, text); return err },
		"name":   func(text string) error { _, err := drive.CreateFolder(background, "x", text); return err },
		"code":   func(text string) error { _, err := drive.Link(background, text); return err },
		"state":  func(text string) error { _, err := drive.AuthorizeURL(text); return err },
		"tokens": func(text string) error { return drive.SetTokens(vemlo.Tokens{Access: text}) },
		"text":   func(text string) error { _, err := library.Encrypt(text); return err },
		"endpoint": func(text string) error {
			_, err := library.OpenS3(vemlo.S3Config{Endpoint: text})
			return err
		},
		"proxy": func(text string) error {
			_, err := library.OpenDrive(vemlo.Dropbox, vemlo.Proxy{Host: text})
			return err
		},
		"account": func(text string) error {
			_, err := library.AccountOf(background, vemlo.GoogleDrive, vemlo.Tokens{Access: text}, cloud.proxy)
			return err
		},
		"recording": func(text string) error { return library.StartRecording(text) },
	}
	before := requestCount()
	for name, call := range calls {
		err := call("a\x00b")
		if !errors.Is(err, vemlo.HostFault) || !strings.HasSuffix(err.Error(), " contains a NUL") {
			t.Errorf("%s: %v", name, err)
		}
	}
	if requestCount() != before {
		t.Error("something was requested")
	}
}

func TestTextsThatAreNotUTF8ArePassedOnUnchanged(t *testing.T) {
	listing, err := openS3(t).Folders(background, "echo", "\xff\xc3(")
	must(err)
	if listing.Folders[0].Name != "%FF%C3%28" {
		t.Errorf("%q", listing.Folders[0].Name)
	}
}

func TestAKeyThatIsNotBase64IsAWrongKey(t *testing.T) {
	_, err := library.OpenAzureBlobs(vemlo.AzureConfig{Account: "account", Key: "%"})
	if failureOf(t, err).Code != -1 || !errors.Is(err, vemlo.WrongKeys) {
		t.Error(err)
	}
}

func TestAFailureOfTheSystemIsTheReasonOfARecordingThatFails(t *testing.T) {
	path := filepath.Join(t.TempDir(), "recording.har")
	must(library.StartRecording(path))
	if err := library.StartRecording(path); !errors.Is(err, vemlo.HostFault) {
		t.Error(err)
	}
	must(library.StopRecording())
	if err := library.StartRecording(path); !errors.Is(err, fs.ErrExist) {
		t.Error(err)
	}
	if err := library.StopRecording(); !errors.Is(err, vemlo.HostFault) {
		t.Error(err)
	}
}

func TestKindsHaveTheNamesOfTheCInterface(t *testing.T) {
	if vemlo.Kind(99).Error() != "unknown" || vemlo.LinkAgain.Error() != "link again" {
		t.Error("the names of kinds are others")
	}
}
