// Lists the buckets of an account: list_buckets ENDPOINT ACCESS-KEY SECRET-KEY
package main

import (
	"context"
	"fmt"
	"log"
	"os"

	"vemlo"
)

func listBuckets(config vemlo.S3Config) error {
	library, err := vemlo.Open(vemlo.Settings{})
	if err != nil {
		return err
	}
	defer library.Close()
	s3, err := library.OpenS3(config)
	if err != nil {
		return err
	}
	defer s3.Close()

	buckets, err := s3.Buckets(context.Background())
	if err != nil {
		return err
	}
	for _, name := range buckets.Names {
		fmt.Println(name)
	}
	return nil
}

func main() {
	if len(os.Args) != 4 {
		os.Exit(2)
	}
	config := vemlo.S3Config{Endpoint: os.Args[1], AccessKey: os.Args[2], SecretKey: os.Args[3]}
	if err := listBuckets(config); err != nil {
		log.Fatal(err)
	}
}
