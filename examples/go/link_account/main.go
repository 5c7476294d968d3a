// A host that links an account and lets its user pick the folder for transfers. Ctrl-C ends a call.
package main

import (
	"context"
	"errors"
	"fmt"
	"os"
	"os/signal"
	"strconv"
	"time"

	"vemlo"
)

const usage = `usage: link_account s3 ENDPOINT                 (keys: S3_ACCESS_KEY and S3_SECRET_KEY)
       link_account google-drive TOKEN-FILE [PROXY-HOST PROXY-PORT]

Exit codes: 0 after a line "Chosen: ...", 1 if no folder was chosen, 2 on bad usage.
`

// An account is what the user picks a folder of.
type account interface {
	// Roots returns the folders to begin at.
	Roots(ctx context.Context) ([]entry, error)
	Folders(ctx context.Context, parent folder) ([]entry, error)
	// MakeFolder returns the folder to continue at.
	MakeFolder(ctx context.Context, parent folder, name string) (folder, error)
	// Describe returns what is shown of the folder that was chosen.
	Describe(chosen folder) string
	Close() error
}

// A folder has two parts: the bucket and the prefix, or the name and the ID.
type folder struct{ first, second string }

type entry struct {
	name   string
	folder folder
}

var advice = map[vemlo.Kind]string{
	vemlo.LinkAgain:      "Link the account again.",
	vemlo.Wait:           "Try again later.",
	vemlo.Offline:        "Check the network and the proxy.",
	vemlo.TimedOut:       "Try again later.",
	vemlo.NotTrusted:     "The server cannot be trusted. Ask who runs the network.",
	vemlo.Denied:         "Ask the account's owner for access.",
	vemlo.ExistsAlready:  "Choose another name.",
	vemlo.NameNotAllowed: "Choose another name.",
	vemlo.Quota:          "Free some space.",
	vemlo.WrongKeys:      "Check the keys.",
	vemlo.WrongClock:     "Set this computer's clock.",
	vemlo.ServiceTrouble: "Try again later.",
	vemlo.Cancelled:      "You ended it.",
	vemlo.Deadline:       "Try again later.",
}

// explain returns an error for the user, which wraps the kind of the failure.
func explain(what string, err error) error {
	var failure *vemlo.Failure
	if !errors.As(err, &failure) {
		return err
	}
	text := advice[failure.Kind]
	if text == "" {
		text = failure.Error()
	}
	return fmt.Errorf("Cannot %s (%w). %s", what, failure.Kind, text)
}

// showProgress returns whether the call continues.
func showProgress(progress vemlo.Progress) bool {
	if progress.Entries >= 1000 {
		fmt.Printf("%d entries so far\n", progress.Entries)
	}
	return true
}

// callContext returns the context of one call, which has half a minute and reports its progress.
func callContext(ctx context.Context) (context.Context, context.CancelFunc) {
	return context.WithTimeout(vemlo.WithProgress(ctx, showProgress), 30*time.Second)
}

func openAccount(library *vemlo.Library, user *user, tokens *tokenStore,
	arguments []string) (account, error) {
	if arguments[0] == "s3" {
		return openS3(library, arguments[1])
	}
	var proxy vemlo.Proxy
	if len(arguments) == 4 {
		port, err := strconv.ParseUint(arguments[3], 10, 16)
		if err != nil {
			return nil, err
		}
		proxy = vemlo.Proxy{Host: arguments[2], Port: uint16(port)}
	}
	return openGoogleDrive(library, user, tokens, proxy)
}

func isUsage(arguments []string) bool {
	switch len(arguments) {
	case 2:
		return arguments[0] == "s3" || arguments[0] == "google-drive"
	case 4:
		return arguments[0] == "google-drive"
	}
	return false
}

func run(arguments []string) error {
	ctx, stop := signal.NotifyContext(context.Background(), os.Interrupt)
	defer stop()
	tokens := &tokenStore{path: arguments[1]}
	library, err := vemlo.Open(vemlo.Settings{TokensRenewed: tokens.storeRenewed})
	if err != nil {
		return err
	}
	defer library.Close()
	tokens.library = library
	user := newUser()
	account, err := openAccount(library, user, tokens, arguments)
	if err != nil {
		return err
	}
	defer account.Close()
	chosen, err := pickFolder(ctx, account, user)
	if err != nil {
		return err
	}
	fmt.Println("Chosen:", account.Describe(chosen))
	return nil
}

func main() {
	if !isUsage(os.Args[1:]) {
		fmt.Fprint(os.Stderr, usage)
		os.Exit(2)
	}
	if err := run(os.Args[1:]); err != nil {
		fmt.Fprintln(os.Stderr, err)
		os.Exit(1)
	}
}
