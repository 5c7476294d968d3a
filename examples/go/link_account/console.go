package main

import (
	"bufio"
	"context"
	"errors"
	"fmt"
	"net/url"
	"os"
	"strconv"
	"strings"
)

var errNotChosen = errors.New("No folder was chosen.")

// A user reads the lines that the user types, on a goroutine, so that Ctrl-C ends a question.
type user struct{ lines chan string }

func newUser() *user {
	u := &user{make(chan string)}
	go func() {
		defer close(u.lines)
		for input := bufio.NewScanner(os.Stdin); input.Scan(); {
			u.lines <- input.Text()
		}
	}()
	return u
}

func (u *user) ask(ctx context.Context, prompt string) (string, error) {
	fmt.Print(prompt)
	select {
	case line, typed := <-u.lines:
		if typed {
			return line, nil
		}
	case <-ctx.Done():
	}
	return "", errNotChosen
}

// choose returns the user's choice, and the entry of which it is the number.
func (u *user) choose(ctx context.Context, entries []entry, prompt string) (string, *entry, error) {
	for i, entry := range entries {
		fmt.Printf("%d  %s\n", i+1, entry.name)
	}
	choice, err := u.ask(ctx, prompt)
	if number, wrong := strconv.Atoi(choice); wrong == nil && number >= 1 && number <= len(entries) {
		return choice, &entries[number-1], err
	}
	return choice, nil, err
}

func pickFolder(ctx context.Context, account account, user *user) (folder, error) {
	roots, err := account.Roots(ctx)
	if err != nil {
		return folder{}, err
	}
	_, root, err := user.choose(ctx, roots, "Begin at number: ")
	if err != nil || root == nil {
		return folder{}, errNotChosen
	}
	current := root.folder
	for {
		entries, err := account.Folders(ctx, current)
		if err != nil {
			return folder{}, err
		}
		choice, chosen, err := user.choose(ctx, entries,
			"Folder number, + and a name for a new one, or . for this one: ")
		switch {
		case err != nil:
			return folder{}, err
		case choice == ".":
			return current, nil
		case strings.HasPrefix(choice, "+"):
			if current, err = account.MakeFolder(ctx, current, choice[1:]); err != nil {
				return folder{}, err
			}
		case chosen != nil:
			current = chosen.folder
		}
	}
}

// codeIn returns the authorization code in what the user has pasted: the address of the redirect
// page, or the code alone, which is percent-encoded if it was copied out of the address.
func codeIn(pasted string) (string, error) {
	pasted = strings.TrimSpace(pasted)
	_, query, isAddress := strings.Cut(pasted, "?")
	if !isAddress {
		if code, err := url.PathUnescape(pasted); err == nil {
			return code, nil
		}
		return pasted, nil
	}
	query, _, _ = strings.Cut(query, "#")
	values, err := url.ParseQuery(query)
	if err != nil || values.Get("code") == "" {
		return "", errors.New("There is no code in that address.")
	}
	return values.Get("code"), nil
}
