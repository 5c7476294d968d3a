// Lists the buckets of an account: list_buckets ENDPOINT ACCESS-KEY SECRET-KEY
package main

import (
	"context"
	"fmt"
	"log"
	"os"

	"vemlo"
)

func main() {
	if len(os.Args) != 4 {
		os.Exit(2)
	}
	library, err := vemlo.Open(vemlo.Settings{})
	if err != nil {
		log.Fatal(err)
	}
	defer library.Close()
	s3, err := library.OpenS3(vemlo.S3Config{
		Endpoint: os.Args[1], AccessKey: os.Args[2], SecretKey: os.Args[3]})
	if err != nil {
		log.Fatal(err)
	}
	defer s3.Close()

	buckets, err := s3.Buckets(context.Background())
	if err != nil {
		log.Fatal(err)
	}
	for _, name := range buckets.Names {
		fmt.Println(name)
	}
}
