package main

import (
	"errors"
	"fmt"
	"net/url"
	"os"
	"strconv"
	"strings"
	"sync"
	"time"

	"vemlo"
)

var services = map[string]vemlo.Service{
	"s3":           vemlo.ServiceS3,
	"azure":        vemlo.ServiceAzureBlobs,
	"amazon-drive": vemlo.AmazonDrive,
	"google-drive": vemlo.GoogleDrive,
	"onedrive":     vemlo.OneDrive,
	"dropbox":      vemlo.Dropbox,
}

func serviceNamed(word string) vemlo.Service {
	service, known := services[word]
	if !known {
		refuse("no such service")
	}
	return service
}

func nameOf(service vemlo.Service) string {
	for name, number := range services {
		if number == service {
			return name
		}
	}
	return ""
}

func numberIn(word string) int {
	number, err := strconv.Atoi(word)
	if err != nil {
		refuse("no number: " + word)
	}
	return number
}

// wordsOf returns the words of a line, decoded.
func wordsOf(line string) []string {
	words := strings.Split(line, " ")
	for i, word := range words {
		if word == "%" {
			word = ""
		}
		decoded, err := url.PathUnescape(word)
		if err != nil {
			refuse(err.Error())
		}
		words[i] = decoded
	}
	return words
}

func encode(text string) string {
	if text == "" {
		return "%"
	}
	const unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~"
	var encoded strings.Builder
	for i := 0; i < len(text); i++ {
		if strings.IndexByte(unreserved, text[i]) >= 0 {
			encoded.WriteByte(text[i])
		} else {
			fmt.Fprintf(&encoded, "%%%02X", text[i])
		}
	}
	return encoded.String()
}

var output sync.Mutex

// show writes a line of words, which are texts and numbers.
func show(words ...any) {
	encoded := make([]string, len(words))
	for i, word := range words {
		encoded[i] = encode(fmt.Sprint(word))
	}
	output.Lock()
	defer output.Unlock()
	fmt.Println(strings.Join(encoded, " ")) // is not buffered
}

func showFailure(err error) {
	var failure *vemlo.Failure
	if !errors.As(err, &failure) {
		refuse("an error that is no failure: " + err.Error())
	}
	show("failed", failure.Kind, nameOf(failure.Service), failure.Code, failure.Number,
		failure.HTTPStatus, seconds(failure.RetryAfter), failure.Operation, failure.ServiceCode,
		failure.ServiceMessage, failure.RequestID)
}

// seconds are -1 if the duration is not known.
func seconds(duration time.Duration) int64 {
	if duration < 0 {
		return -1
	}
	return int64(duration / time.Second)
}

func showRenewedTokens(tokens vemlo.RenewedTokens) {
	show("renewed", nameOf(tokens.Service), tokens.UsedRefresh, tokens.Tokens.Access,
		tokens.Tokens.Refresh, seconds(tokens.Lifetime))
}

// refuse ends the program because of a command that it does not understand.
func refuse(reason string) {
	fmt.Fprintln(os.Stderr, "driver:", reason)
	os.Exit(2)
}
