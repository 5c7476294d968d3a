// Lists a folder of Google Drive with the Go binding, as often as each line of standard input says,
// and prints how many bytes the names and ids have.
//
//	list_go PROXY-PORT
package main

import (
	"bufio"
	"context"
	"fmt"
	"log"
	"os"
	"strconv"

	"vemlo"
)

func check(err error) {
	if err != nil {
		log.Fatal(err)
	}
}

func main() {
	port, err := strconv.ParseUint(os.Args[1], 10, 16)
	check(err)
	library, err := vemlo.Open(vemlo.Settings{})
	check(err)
	drive, err := library.OpenDrive(vemlo.GoogleDrive, vemlo.Proxy{Host: "127.0.0.1", Port: uint16(port)})
	check(err)
	check(drive.SetTokens(vemlo.Tokens{Access: "access", Refresh: "refresh"}))
	for lines := bufio.NewScanner(os.Stdin); lines.Scan(); {
		times, err := strconv.Atoi(lines.Text())
		check(err)
		size := 0
		for ; times > 0; times-- {
			listing, err := drive.Folders(context.Background(), "parent")
			check(err)
			for _, folder := range listing.Folders {
				size += len(folder.Name) + len(folder.ID)
			}
		}
		fmt.Println(size)
	}
	check(drive.Close())
	check(library.Close())
}
