package main

import (
	"bytes"
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
	"os"
	"strconv"
	"strings"
	"time"
)

// Pages of Google Drive have this many folders.
const pageSize = 500

// serve is the server process. It responds from memory: as S3 over HTTP, and as Google Drive behind
// the same port, which is a proxy, too. It writes its port, and ends with its standard input.
func serve(trustFile string) {
	listener, err := net.Listen("tcp", "127.0.0.1:0")
	check(err)
	connections := make(connectionQueue)
	go http.Serve(tls.NewListener(connections, &tls.Config{
		Certificates: []tls.Certificate{makeCertificate(trustFile)}}), http.HandlerFunc(respondAsGoogleDrive))
	go http.Serve(listener, http.HandlerFunc(func(response http.ResponseWriter, request *http.Request) {
		if request.Method != http.MethodConnect {
			respondAsS3(response, request)
			return
		}
		connection, _, err := response.(http.Hijacker).Hijack()
		check(err)
		io.WriteString(connection, "HTTP/1.1 200 Connected\r\n\r\n")
		connections <- connection
	}))
	fmt.Println(listener.Addr().(*net.TCPAddr).Port)
	io.Copy(io.Discard, os.Stdin)
}

// The bucket and the parent folder are called after their number of folders.
func respondAsS3(response http.ResponseWriter, request *http.Request) {
	count, _ := strconv.Atoi(strings.Split(request.URL.Path, "/")[1])
	var body bytes.Buffer
	body.WriteString("<ListBucketResult>")
	for i := 0; i < count; i++ {
		fmt.Fprintf(&body, "<CommonPrefixes><Prefix>holiday-photos/%08d/</Prefix></CommonPrefixes>", i)
	}
	body.WriteString("</ListBucketResult>")
	respond(response, "application/xml", body.Bytes())
}

// respond sends a body of known length, as the services do.
func respond(response http.ResponseWriter, contentType string, body []byte) {
	response.Header().Set("Content-Type", contentType)
	response.Header().Set("Content-Length", strconv.Itoa(len(body)))
	response.Write(body)
}

func respondAsGoogleDrive(response http.ResponseWriter, request *http.Request) {
	query := request.URL.Query()
	count, _ := strconv.Atoi(strings.Split(query.Get("q"), "'")[1])
	first, _ := strconv.Atoi(query.Get("pageToken"))
	var body bytes.Buffer
	body.WriteByte('{')
	if first+pageSize < count {
		fmt.Fprintf(&body, `"nextPageToken":"%d",`, first+pageSize)
	}
	body.WriteString(`"files":[`)
	for i := first; i < first+pageSize && i < count; i++ {
		if i > first {
			body.WriteByte(',')
		}
		fmt.Fprintf(&body, `{"id":"1BxiMVs0XRA5nFMdKvBdBZjgmU%08d","name":"holiday photos %08d"}`, i, i)
	}
	body.WriteString("]}")
	respond(response, "application/json", body.Bytes())
}

func makeCertificate(trustFile string) tls.Certificate {
	key, err := ecdsa.GenerateKey(elliptic.P256(), rand.Reader)
	check(err)
	template := x509.Certificate{SerialNumber: big.NewInt(1),
		Subject: pkix.Name{CommonName: "benchmark"}, NotBefore: time.Now().Add(-time.Hour),
		NotAfter: time.Now().Add(24 * time.Hour), DNSNames: []string{"www.googleapis.com"},
		IsCA: true, BasicConstraintsValid: true}
	certificate, err := x509.CreateCertificate(rand.Reader, &template, &template, &key.PublicKey, key)
	check(err)
	block := pem.EncodeToMemory(&pem.Block{Type: "CERTIFICATE", Bytes: certificate})
	check(os.WriteFile(trustFile, block, 0o600))
	return tls.Certificate{Certificate: [][]byte{certificate}, PrivateKey: key}
}

// A connectionQueue is a listener whose connections come from elsewhere.
type connectionQueue chan net.Conn

func (q connectionQueue) Accept() (net.Conn, error) { return <-q, nil }
func (q connectionQueue) Close() error              { return nil }
func (q connectionQueue) Addr() net.Addr            { return &net.TCPAddr{} }
