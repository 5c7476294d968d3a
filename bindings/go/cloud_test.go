package vemlo_test

import (
	"context"
	"crypto/ecdsa"
	"crypto/elliptic"
	"crypto/rand"
	"crypto/tls"
	"crypto/x509"
	"crypto/x509/pkix"
	"encoding/pem"
	"fmt"
	"io"
	"math/big"
	"net"
	"net/http"
	"net/http/httptest"
	"net/url"
	"os"
	"path/filepath"
	"strconv"
	"strings"
	"sync/atomic"
	"testing"
	"time"

	"vemlo"
)

// The services of the tests: S3 over plain HTTP, and the drives behind a proxy, since their hosts
// are fixed. What a bucket or a folder is called decides how a request for it ends.
var cloud struct {
	s3      *httptest.Server
	proxy   vemlo.Proxy
	trust   string
	arrived chan string // the names of silent buckets and folders that were requested

	requests atomic.Int64
}

// The library that is open, and what it has reported.
var (
	library *vemlo.Library
	renewed = make(chan vemlo.RenewedTokens, 1000)
)

func settings() vemlo.Settings {
	return vemlo.Settings{
		TrustFile:     cloud.trust,
		TokensRenewed: func(tokens vemlo.RenewedTokens) { renewed <- tokens },
	}
}

func TestMain(m *testing.M) {
	folder, err := os.MkdirTemp("", "vemlo")
	must(err)
	cloud.arrived = make(chan string, 1000)
	cloud.s3 = httptest.NewServer(counted(http.HandlerFunc(serveS3)))
	cloud.trust = filepath.Join(folder, "authority.pem")
	cloud.proxy = startProxy(counted(http.HandlerFunc(serveDrive)))
	library, err = vemlo.Open(settings())
	must(err)
	result := m.Run()
	must(library.Close())
	must(os.RemoveAll(folder))
	os.Exit(result)
}

func must(err error) {
	if err != nil {
		panic(err)
	}
}

// reopen opens the library with other settings for the rest of a test.
func reopen(t *testing.T, other vemlo.Settings) {
	t.Helper()
	replace := func(settings vemlo.Settings) {
		must(library.Close())
		var err error
		library, err = vemlo.Open(settings)
		must(err)
	}
	replace(other)
	t.Cleanup(func() { replace(settings()) })
}

func openS3(t testing.TB) *vemlo.S3 {
	t.Helper()
	s3, err := library.OpenS3(vemlo.S3Config{Endpoint: cloud.s3.URL, AccessKey: "key", SecretKey: "secret"})
	must(err)
	t.Cleanup(func() { s3.Close() })
	return s3
}

func openDrive(t testing.TB, service vemlo.Service, access string) *vemlo.Drive {
	t.Helper()
	drive, err := library.OpenDrive(service, cloud.proxy)
	must(err)
	t.Cleanup(func() { drive.Close() })
	must(drive.SetTokens(vemlo.Tokens{Access: access, Refresh: "refresh"}))
	return drive
}

func counted(handler http.Handler) http.Handler {
	return http.HandlerFunc(func(response http.ResponseWriter, request *http.Request) {
		cloud.requests.Add(1)
		handler.ServeHTTP(response, request)
	})
}

// requestCount is the number of requests that have reached a service.
func requestCount() int { return int(cloud.requests.Load()) }

// waitSilently never responds, and tells the test that a request has arrived.
func waitSilently(name string, request *http.Request) {
	_, _ = io.Copy(io.Discard, request.Body)
	cloud.arrived <- name
	<-request.Context().Done()
}

func prefixes(count int) string {
	var text strings.Builder
	for i := 0; i < count; i++ {
		fmt.Fprintf(&text, "<CommonPrefixes><Prefix>photos/%08d/</Prefix></CommonPrefixes>", i)
	}
	return text.String()
}

var thousandPrefixes = prefixes(1000)

func serveS3(response http.ResponseWriter, request *http.Request) {
	bucket := strings.SplitN(request.URL.Path, "/", 3)[1]
	query := request.URL.Query()
	content := ""
	switch {
	case request.Method == http.MethodPut:
		return
	case bucket == "":
		io.WriteString(response, "<ListAllMyBucketsResult><Buckets><Bucket><Name>first</Name></Bucket>"+
			"<Bucket><Name>second</Name></Bucket></Buckets></ListAllMyBucketsResult>")
		return
	case strings.HasPrefix(bucket, "silent"):
		waitSilently(bucket, request)
		return
	case s3Errors[bucket] != 0:
		response.Header().Set("x-amz-request-id", "request-1")
		if bucket == "InvalidBucketName" {
			response.Header().Set("Retry-After", "9223372037") // seconds; one more than a Duration holds
		}
		response.WriteHeader(s3Errors[bucket])
		fmt.Fprintf(response, "<Error><Code>%s</Code><Message>about %s</Message></Error>", bucket, bucket)
		return
	case bucket == "thousand":
		content = thousandPrefixes
	case bucket == "echo": // the prefix as it was received
		content = "<CommonPrefixes><Prefix>" + url.QueryEscape(query.Get("prefix")) + "</Prefix></CommonPrefixes>"
	case bucket == "pages" || bucket == "endless":
		page, _ := strconv.Atoi(query.Get("continuation-token"))
		content = fmt.Sprintf("<CommonPrefixes><Prefix>page%d/</Prefix></CommonPrefixes>", page)
		if page < 4 || bucket == "endless" {
			content += fmt.Sprintf("<IsTruncated>true</IsTruncated>"+
				"<NextContinuationToken>%d</NextContinuationToken>", page+1)
		}
	}
	io.WriteString(response, "<ListBucketResult>"+content+"</ListBucketResult>")
}

// The statuses of errors, by their codes, which are the names of the buckets that have them.
var s3Errors = map[string]int{
	"AccessDenied":          http.StatusForbidden,
	"NoSuchBucket":          http.StatusNotFound,
	"SignatureDoesNotMatch": http.StatusForbidden,
	"BucketAlreadyExists":   http.StatusConflict,
	"InvalidBucketName":     http.StatusBadRequest,
}

// serveDrive is Google Drive; for the other drives it does what the tests need.
func serveDrive(response http.ResponseWriter, request *http.Request) {
	response.Header().Set("Content-Type", "application/json")
	body, _ := io.ReadAll(request.Body)
	form, _ := url.ParseQuery(string(body))
	parent := strings.SplitN(request.URL.Query().Get("q"), "'", 3)
	switch {
	case form.Get("grant_type") != "":
		serveTokens(response, form)
	case request.Header.Get("Authorization") == "Bearer expired":
		response.WriteHeader(http.StatusUnauthorized)
		io.WriteString(response, `{"error":{"code":401,"message":"expired","errors":[{"reason":"authError"}]}}`)
	case strings.HasSuffix(request.URL.Path, "/about"):
		io.WriteString(response, `{"user":{"displayName":"Ana","emailAddress":"ana@vemlo.example"},`+
			`"storageQuota":{"usage":"7"}}`)
	case strings.HasSuffix(request.URL.Path, "/files/root"):
		io.WriteString(response, `{"id":"root-id","name":"My Drive"}`)
	case request.Method == http.MethodPost:
		io.WriteString(response, `{"id":"new-id","name":"as the service says"}`)
	case len(parent) > 1 && parent[1] == "silent":
		waitSilently("silent", request)
	case len(parent) > 1 && parent[1] == "empty":
		io.WriteString(response, `{"files":[]}`)
	default:
		io.WriteString(response, `{"files":[{"id":"id-1","name":"Málaga"},{"id":"id-2","name":"書類"}]}`)
	}
}

func serveTokens(response http.ResponseWriter, form url.Values) {
	switch {
	case form.Get("code") == "bad" || form.Get("refresh_token") == "revoked":
		response.WriteHeader(http.StatusBadRequest)
		io.WriteString(response, `{"error":"invalid_grant","error_description":"no longer valid"}`)
	case form.Get("code") != "":
		fmt.Fprintf(response, `{"access_token":"access-%s","refresh_token":"refresh-%s","expires_in":3600}`,
			form.Get("code"), form.Get("code"))
	default:
		io.WriteString(response, `{"access_token":"fresh","refresh_token":"rotated","expires_in":1800}`)
	}
}

// startProxy starts a proxy that leads to a handler for every host, and an authority that it has a
// certificate of.
func startProxy(handler http.Handler) vemlo.Proxy {
	key, err := ecdsa.GenerateKey(elliptic.P256(), rand.Reader)
	must(err)
	template := x509.Certificate{SerialNumber: big.NewInt(1), Subject: pkix.Name{CommonName: "tests"},
		NotBefore: time.Now().Add(-time.Hour), NotAfter: time.Now().Add(time.Hour),
		DNSNames: []string{"*.googleapis.com", "accounts.google.com", "api.dropboxapi.com"},
		IsCA:     true, BasicConstraintsValid: true}
	certificate, err := x509.CreateCertificate(rand.Reader, &template, &template, &key.PublicKey, key)
	must(err)
	block := pem.EncodeToMemory(&pem.Block{Type: "CERTIFICATE", Bytes: certificate})
	must(os.WriteFile(cloud.trust, block, 0o600))

	connections := make(connectionQueue)
	service := &http.Server{Handler: handler}
	go service.Serve(tls.NewListener(connections, &tls.Config{
		Certificates: []tls.Certificate{{Certificate: [][]byte{certificate}, PrivateKey: key}}}))
	proxy := httptest.NewServer(http.HandlerFunc(func(response http.ResponseWriter, _ *http.Request) {
		connection, _, err := response.(http.Hijacker).Hijack()
		must(err)
		io.WriteString(connection, "HTTP/1.1 200 Connected\r\n\r\n")
		connections <- connection
	}))
	address := proxy.Listener.Addr().(*net.TCPAddr)
	return vemlo.Proxy{Host: address.IP.String(), Port: uint16(address.Port)}
}

// A connectionQueue is a listener whose connections come from elsewhere.
type connectionQueue chan net.Conn

func (q connectionQueue) Accept() (net.Conn, error) { return <-q, nil }
func (q connectionQueue) Close() error              { return nil }
func (q connectionQueue) Addr() net.Addr            { return &net.TCPAddr{} }

var background = context.Background()
