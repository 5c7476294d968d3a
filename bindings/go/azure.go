package vemlo

// #include "bridge.h"
import "C"

import "context"

// An AzureConfig says where an Azure storage account is, and what its key is.
type AzureConfig struct {
	// Region is a region or cloud such as "westeurope", "china" or "usgovvirginia", which selects
	// the cloud. Empty or unknown: the global cloud.
	Region  string
	Account string
	// Key is one of the account's keys, in base64.
	Key   string
	Proxy Proxy
}

// AzureBlobs is a session with an Azure storage account. Its methods may be called by several
// goroutines at once.
type AzureBlobs struct{ *session }

// OpenAzureBlobs opens a session with an Azure storage account. Nothing is requested. Fails with
// the kind WrongKeys if the key is not base64.
func (l *Library) OpenAzureBlobs(config AzureConfig) (*AzureBlobs, error) {
	var texts texts
	region := texts.add("the region", config.Region)
	account := texts.add("the account", config.Account)
	key := texts.add("the key", config.Key)
	proxy := texts.addProxy(config.Proxy)
	session, err := l.open(ServiceAzureBlobs, texts, func() *C.session {
		return C.vemlo_go_open_azure_blobs(region, account, key, proxy)
	})
	if err != nil {
		return nil, err
	}
	return &AzureBlobs{session}, nil
}

// Containers lists the containers of the account.
func (a *AzureBlobs) Containers(ctx context.Context) (Buckets, error) {
	return a.listBuckets(ctx, func(names ***C.char, count *C.int) C.int {
		return C.azure_ssb_list_bucket(a.handle, names, count)
	})
}

// CreateContainer creates a container.
func (a *AzureBlobs) CreateContainer(ctx context.Context, name string) error {
	var texts texts
	container := texts.add("the name", name)
	_, err := a.run(ctx, request{texts: texts}, func() C.int { return C.azure_ssb_create_bucket(a.handle, container) })
	return err
}

// Folders lists the folders directly below a prefix, such as "photos/2019/"; below an empty prefix
// those of the container.
func (a *AzureBlobs) Folders(ctx context.Context, container, prefix string) (Listing, error) {
	var texts texts
	cContainer, cPrefix := texts.add("the container", container), texts.add("the prefix", prefix)
	return a.list(ctx, request{texts: texts}, func(folders **C.directory, count *C.int) C.int {
		return C.azure_ssb_list_directory(a.handle, cContainer, cPrefix, folders, count)
	})
}

// CreateFolder creates a folder by storing an empty blob at a path, such as "photos/2020/". Parents
// need not exist. The contents of an existing folder stay.
func (a *AzureBlobs) CreateFolder(ctx context.Context, container, path string) error {
	var texts texts
	cContainer, cPath := texts.add("the container", container), texts.add("the path", path)
	_, err := a.run(ctx, request{texts: texts}, func() C.int {
		return C.azure_ssb_create_directory(a.handle, cContainer, cPath)
	})
	return err
}
