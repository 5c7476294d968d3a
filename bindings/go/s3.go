package vemlo

// #include "bridge.h"
import "C"

import "context"

// An S3Config says where an account of S3 or a compatible store is, and what its keys are.
type S3Config struct {
	// Endpoint is [http[s]://]host[:port][/base], https without a scheme. Empty: that of AWS.
	Endpoint string
	// Region is the region for which requests are signed, such as "eu-central-1". Empty: the one
	// that the endpoint names, otherwise "us-east-1".
	Region    string
	AccessKey string
	SecretKey string
	Proxy     Proxy
}

// S3 is a session with S3 or a compatible store. Its methods may be called by several goroutines at
// once.
type S3 struct{ *session }

// OpenS3 opens a session with S3 or a compatible store. Nothing is requested: a wrong configuration
// makes the first call fail.
func (l *Library) OpenS3(config S3Config) (*S3, error) {
	var texts texts
	endpoint := texts.add("the endpoint", config.Endpoint)
	region := texts.add("the region", config.Region)
	accessKey := texts.add("the access key", config.AccessKey)
	secretKey := texts.add("the secret key", config.SecretKey)
	proxy := texts.addProxy(config.Proxy)
	session, err := l.open(ServiceS3, texts, func() *C.session {
		return C.vemlo_go_open_s3(endpoint, region, accessKey, secretKey, proxy)
	})
	if err != nil {
		return nil, err
	}
	return &S3{session}, nil
}

// Buckets lists the buckets of the account.
func (s *S3) Buckets(ctx context.Context) (Buckets, error) {
	return s.listBuckets(ctx, func(names ***C.char, count *C.int) C.int {
		return C.s3_list_bucket(s.handle, names, count)
	})
}

// CreateBucket creates a bucket in a location, which is the Code of one of the Locations for the
// kind of endpoint.
func (s *S3) CreateBucket(ctx context.Context, name string, location int) error {
	if location != int(C.int(location)) {
		return hostFault(s.service, "there is no such location", nil)
	}
	var texts texts
	bucket := texts.add("the name", name)
	_, err := s.run(ctx, request{texts: texts}, func() C.int {
		return C.s3_create_bucket(s.handle, bucket, C.int(location))
	})
	return err
}

// Folders lists the folders directly below a prefix, such as "photos/2019/"; below an empty prefix
// those of the bucket.
func (s *S3) Folders(ctx context.Context, bucket, prefix string) (Listing, error) {
	var texts texts
	cBucket, cPrefix := texts.add("the bucket", bucket), texts.add("the prefix", prefix)
	return s.list(ctx, request{texts: texts}, func(folders **C.directory, count *C.int) C.int {
		return C.s3_list_directory(s.handle, cBucket, cPrefix, folders, count)
	})
}

// CreateFolder creates a folder by storing an empty object at a path, such as "photos/2020/".
// Parents need not exist. The contents of an existing folder stay.
func (s *S3) CreateFolder(ctx context.Context, bucket, path string) error {
	var texts texts
	cBucket, cPath := texts.add("the bucket", bucket), texts.add("the path", path)
	_, err := s.run(ctx, request{texts: texts}, func() C.int {
		return C.s3_create_directory(s.handle, cBucket, cPath)
	})
	return err
}
