package main

import (
	"errors"
	"fmt"
	"os"
	"strings"

	"vemlo"
)

// A tokenStore keeps the tokens of an account in a file, encrypted, one in each line.
type tokenStore struct {
	library *vemlo.Library
	path    string
}

func (s *tokenStore) load() (vemlo.Tokens, error) {
	text, err := os.ReadFile(s.path)
	if err != nil {
		return vemlo.Tokens{}, err
	}
	lines := strings.Split(strings.TrimSpace(string(text)), "\n")
	if len(lines) != 2 {
		return vemlo.Tokens{}, errors.New("the file does not have two lines")
	}
	access, err := s.library.Decrypt(lines[0])
	if err != nil {
		return vemlo.Tokens{}, err
	}
	refresh, err := s.library.Decrypt(lines[1])
	return vemlo.Tokens{Access: access, Refresh: refresh}, err
}

func (s *tokenStore) store(tokens vemlo.Tokens) error {
	var lines strings.Builder
	for _, token := range []string{tokens.Access, tokens.Refresh} {
		line, err := s.library.Encrypt(token)
		if err != nil {
			return err
		}
		// Decryption does not need the line breaks in the ciphertext.
		lines.WriteString(strings.Join(strings.Fields(line), "") + "\n")
	}
	file, err := os.OpenFile(s.path+".new", os.O_WRONLY|os.O_CREATE|os.O_TRUNC, 0o600)
	if err != nil {
		return err
	}
	defer file.Close()
	if _, err := file.WriteString(lines.String()); err != nil {
		return err
	}
	if err := file.Sync(); err != nil {
		return err
	}
	return os.Rename(s.path+".new", s.path) // which is complete at any time
}

// storeRenewed is called by the library. A host with several accounts looks for the one whose
// stored refresh token is UsedRefresh.
func (s *tokenStore) storeRenewed(renewed vemlo.RenewedTokens) {
	if err := s.store(renewed.Tokens); err != nil {
		fmt.Fprintln(os.Stderr, "Cannot store the renewed tokens:", err)
	}
}
