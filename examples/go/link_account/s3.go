package main

import (
	"context"
	"os"

	"vemlo"
)

// An s3Account has folders of a bucket and a prefix.
type s3Account struct{ *vemlo.S3 }

func openS3(library *vemlo.Library, endpoint string) (account, error) {
	s3, err := library.OpenS3(vemlo.S3Config{
		Endpoint:  endpoint,
		AccessKey: os.Getenv("S3_ACCESS_KEY"),
		SecretKey: os.Getenv("S3_SECRET_KEY"),
	})
	if err != nil {
		return nil, err
	}
	return s3Account{s3}, nil
}

func (a s3Account) Roots(ctx context.Context) ([]entry, error) {
	ctx, cancel := callContext(ctx)
	defer cancel()
	buckets, err := a.Buckets(ctx)
	if err != nil {
		return nil, explain("list the buckets", err)
	}
	var roots []entry
	for _, name := range buckets.Names {
		roots = append(roots, entry{name, folder{name, ""}})
	}
	return roots, nil
}

func (a s3Account) Folders(ctx context.Context, parent folder) ([]entry, error) {
	ctx, cancel := callContext(ctx)
	defer cancel()
	listing, err := a.S3.Folders(ctx, parent.first, parent.second)
	if err != nil {
		return nil, explain("list the folders", err)
	}
	var entries []entry
	for _, found := range listing.Folders {
		entries = append(entries, entry{found.Name, folder{parent.first, found.Name}})
	}
	return entries, nil
}

func (a s3Account) MakeFolder(ctx context.Context, parent folder, name string) (folder, error) {
	ctx, cancel := callContext(ctx)
	defer cancel()
	err := a.CreateFolder(ctx, parent.first, parent.second+name+"/")
	if err != nil {
		return folder{}, explain("make the folder", err)
	}
	return parent, nil
}

func (a s3Account) Describe(chosen folder) string { return chosen.first + "/" + chosen.second }
