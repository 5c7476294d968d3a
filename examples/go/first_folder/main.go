// First_folder links a Google Drive account, lists its folders and makes one.
//
//	first_folder PROXY-HOST PROXY-PORT
package main

import (
	"context"
	"fmt"
	"os"
	"strconv"

	"vemlo"
)

func run(ctx context.Context, drive *vemlo.Drive) error {
	url, err := drive.AuthorizeURL("")
	if err != nil {
		return err
	}
	fmt.Println(url)
	var code string
	fmt.Scanln(&code)
	if _, err := drive.Link(ctx, code); err != nil {
		return err
	}
	root, err := drive.Root(ctx)
	if err != nil {
		return err
	}
	listing, err := drive.Folders(ctx, root.ID)
	if err != nil {
		return err
	}
	for _, folder := range listing.Folders {
		fmt.Printf("%s (%s)\n", folder.Name, folder.ID)
	}
	made, err := drive.CreateFolder(ctx, root.ID, "Transfers")
	if err != nil {
		return err
	}
	fmt.Printf("Made %s (%s)\n", made.Name, made.ID)
	return nil
}

func linkAndRun(proxy vemlo.Proxy) error {
	library, err := vemlo.Open(vemlo.Settings{})
	if err != nil {
		return err
	}
	defer library.Close()
	drive, err := library.OpenDrive(vemlo.GoogleDrive, proxy)
	if err != nil {
		return err
	}
	defer drive.Close()
	return run(context.Background(), drive)
}

func main() {
	if len(os.Args) != 3 {
		os.Exit(2)
	}
	port, err := strconv.ParseUint(os.Args[2], 10, 16)
	if err == nil {
		err = linkAndRun(vemlo.Proxy{Host: os.Args[1], Port: uint16(port)})
	}
	if err != nil {
		fmt.Println(err)
		os.Exit(1)
	}
}
