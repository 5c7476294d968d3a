package main

import (
	"context"
	"errors"
	"fmt"

	"vemlo"
)

// A googleDriveAccount has folders of a name and an ID.
type googleDriveAccount struct {
	*vemlo.Drive
	user   *user
	tokens *tokenStore
}

func openGoogleDrive(library *vemlo.Library, user *user, tokens *tokenStore,
	proxy vemlo.Proxy) (account, error) {
	drive, err := library.OpenDrive(vemlo.GoogleDrive, proxy)
	if err != nil {
		return nil, err
	}
	return googleDriveAccount{drive, user, tokens}, nil
}

// link lets the user consent, and stores the tokens.
func (a googleDriveAccount) link(ctx context.Context) error {
	address, err := a.AuthorizeURL("")
	if err != nil {
		return err
	}
	fmt.Printf("Open this address and allow access:\n%s\n", address)
	pasted, err := a.user.ask(ctx, "Paste the code, or the address that you were sent to: ")
	if err != nil {
		return err
	}
	code, err := codeIn(pasted)
	if err != nil {
		return err
	}
	ctx, cancel := callContext(ctx)
	defer cancel()
	tokens, err := a.Link(ctx, code)
	if err != nil {
		return explain("link the account", err)
	}
	return a.tokens.store(tokens)
}

func (a googleDriveAccount) root(ctx context.Context) ([]entry, error) {
	ctx, cancel := callContext(ctx)
	defer cancel()
	root, err := a.Root(ctx)
	if err != nil {
		return nil, explain("reach the account", err)
	}
	return []entry{{root.Name, folder{root.Name, root.ID}}}, nil
}

func (a googleDriveAccount) Roots(ctx context.Context) ([]entry, error) {
	if tokens, err := a.tokens.load(); err == nil {
		if err := a.SetTokens(tokens); err != nil {
			return nil, err
		}
		roots, err := a.root(ctx)
		if !errors.Is(err, vemlo.LinkAgain) {
			return roots, err
		}
		fmt.Println(err)
	}
	if err := a.link(ctx); err != nil {
		return nil, err
	}
	return a.root(ctx)
}

func (a googleDriveAccount) Folders(ctx context.Context, parent folder) ([]entry, error) {
	ctx, cancel := callContext(ctx)
	defer cancel()
	listing, err := a.Drive.Folders(ctx, parent.second)
	if err != nil {
		return nil, explain("list the folders", err)
	}
	var entries []entry
	for _, found := range listing.Folders {
		entries = append(entries, entry{found.Name, folder{found.Name, found.ID}})
	}
	return entries, nil
}

func (a googleDriveAccount) MakeFolder(ctx context.Context, parent folder,
	name string) (folder, error) {
	ctx, cancel := callContext(ctx)
	defer cancel()
	made, err := a.CreateFolder(ctx, parent.second, name)
	if err != nil {
		return folder{}, explain("make the folder", err)
	}
	return folder{made.Name, made.ID}, nil
}

func (a googleDriveAccount) Describe(chosen folder) string {
	return fmt.Sprintf("%s (%s)", chosen.first, chosen.second)
}
