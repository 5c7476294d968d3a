package main

import (
	"context"
	"io"

	"vemlo"
)

// A driver is what the commands so far have opened and set.
type driver struct {
	settings vemlo.Settings
	library  *vemlo.Library
	sessions map[string]io.Closer
}

// A store is a session with S3 or with Azure blobs.
type store interface {
	Folders(ctx context.Context, bucket, prefix string) (vemlo.Listing, error)
	CreateFolder(ctx context.Context, bucket, path string) error
}

// A command is one that makes a call, or none.
type command struct {
	words []string
	quiet bool // writes no results
}

func (c command) show(words ...any) {
	if !c.quiet {
		show(words...)
	}
}

// carryOut carries out a command and returns how many entries it has listed.
func (d *driver) carryOut(ctx context.Context, c command) (int, error) {
	words := c.words[1:]
	function, known := functions[c.words[0]]
	if !known || len(words) < function.arguments {
		refuse("unknown command, or too few arguments: " + c.words[0])
	}
	return function.run(d, ctx, c, words)
}

type function struct {
	arguments int
	run       func(d *driver, ctx context.Context, c command, words []string) (int, error)
}

var functions = map[string]function{
	"library":       {3, (*driver).openLibrary},
	"application":   {4, (*driver).setApplication},
	"trust":         {1, (*driver).setTrust},
	"open":          {4, (*driver).open},
	"close":         {1, (*driver).close},
	"url":           {2, (*driver).authorizeURL},
	"logout-url":    {1, (*driver).logoutURL},
	"link":          {2, (*driver).link},
	"tokens":        {3, (*driver).setTokens},
	"root":          {1, (*driver).root},
	"folders":       {2, (*driver).folders},
	"list":          {3, (*driver).list},
	"buckets":       {1, (*driver).buckets},
	"create":        {3, (*driver).create},
	"create-bucket": {3, (*driver).createBucket},
	"account":       {5, (*driver).account},
	"encrypt":       {1, (*driver).convert},
	"decrypt":       {1, (*driver).convert},
	"locations":     {1, (*driver).locations},
}

func (d *driver) openLibrary(_ context.Context, _ command, words []string) (int, error) {
	d.settings.DisablePKCE = words[0] == "0"
	d.settings.DisableWholeS3Listings = words[1] == "0"
	d.settings.DisableDurableDropboxTokens = words[2] == "0"
	d.settings.TokensRenewed = showRenewedTokens
	var err error
	d.library, err = vemlo.Open(d.settings)
	return 0, err
}

func (d *driver) setApplication(_ context.Context, _ command, words []string) (int, error) {
	d.settings.Applications[serviceNamed(words[0])] = vemlo.Application{
		ClientID: &words[1], ClientSecret: &words[2], RedirectURI: &words[3]}
	return 0, nil
}

func (d *driver) setTrust(_ context.Context, _ command, words []string) (int, error) {
	d.settings.TrustFile = words[0]
	return 0, nil
}

func proxyOf(host, port string) vemlo.Proxy {
	return vemlo.Proxy{Host: host, Port: uint16(numberIn(port))}
}

func (d *driver) open(_ context.Context, _ command, words []string) (int, error) {
	name := words[0]
	session, err := d.openSession(serviceNamed(words[1]), proxyOf(words[2], words[3]), words[4:])
	if err != nil {
		return 0, err
	}
	if former := d.sessions[name]; former != nil {
		former.Close()
	}
	d.sessions[name] = session
	return 0, nil
}

func (d *driver) openSession(service vemlo.Service, proxy vemlo.Proxy,
	arguments []string) (io.Closer, error) {
	switch {
	case service == vemlo.ServiceS3 && len(arguments) == 4:
		return d.library.OpenS3(vemlo.S3Config{Endpoint: arguments[0], Region: arguments[1],
			AccessKey: arguments[2], SecretKey: arguments[3], Proxy: proxy})
	case service == vemlo.ServiceAzureBlobs && len(arguments) == 3:
		return d.library.OpenAzureBlobs(vemlo.AzureConfig{Region: arguments[0],
			Account: arguments[1], Key: arguments[2], Proxy: proxy})
	case len(arguments) == 0:
		return d.library.OpenDrive(service, proxy)
	}
	refuse("open has other arguments")
	return nil, nil
}

func (d *driver) close(_ context.Context, _ command, words []string) (int, error) {
	session := d.sessions[words[0]]
	if session == nil {
		refuse("no session called " + words[0])
	}
	delete(d.sessions, words[0])
	return 0, session.Close()
}

func (d *driver) closeEverything() error {
	for _, session := range d.sessions {
		session.Close()
	}
	if d.library == nil {
		return nil
	}
	return d.library.Close()
}

func (d *driver) drive(name string) *vemlo.Drive {
	drive, isDrive := d.sessions[name].(*vemlo.Drive)
	if !isDrive {
		refuse("no drive called " + name)
	}
	return drive
}

func (d *driver) store(name string) store {
	store, isStore := d.sessions[name].(store)
	if !isStore {
		refuse("no object store called " + name)
	}
	return store
}

func (d *driver) authorizeURL(_ context.Context, c command, words []string) (int, error) {
	url, err := d.drive(words[0]).AuthorizeURL(words[1])
	return 0, c.result(err, "url", url)
}

func (d *driver) logoutURL(_ context.Context, c command, words []string) (int, error) {
	url, err := d.drive(words[0]).LogoutURL()
	return 0, c.result(err, "url", url)
}

// result shows words if there is no error.
func (c command) result(err error, words ...any) error {
	if err == nil {
		c.show(words...)
	}
	return err
}

func (d *driver) link(ctx context.Context, c command, words []string) (int, error) {
	tokens, err := d.drive(words[0]).Link(ctx, words[1])
	return 0, c.result(err, "tokens", tokens.Access, tokens.Refresh)
}

func (d *driver) setTokens(_ context.Context, _ command, words []string) (int, error) {
	return 0, d.drive(words[0]).SetTokens(vemlo.Tokens{Access: words[1], Refresh: words[2]})
}

func (d *driver) root(ctx context.Context, c command, words []string) (int, error) {
	root, err := d.drive(words[0]).Root(ctx)
	return 0, c.result(err, "folder", root.Name, root.ID)
}

func (d *driver) folders(ctx context.Context, c command, words []string) (int, error) {
	return c.showListing(d.drive(words[0]).Folders(ctx, words[1]))
}

func (d *driver) list(ctx context.Context, c command, words []string) (int, error) {
	return c.showListing(d.store(words[0]).Folders(ctx, words[1], words[2]))
}

func (c command) showListing(listing vemlo.Listing, err error) (int, error) {
	if err != nil {
		return 0, err
	}
	for _, folder := range listing.Folders {
		c.show("folder", folder.Name, folder.ID)
	}
	c.show("cut", bit(listing.CutShort))
	return len(listing.Folders), nil
}

func bit(value bool) int {
	if value {
		return 1
	}
	return 0
}

func (d *driver) buckets(ctx context.Context, c command, words []string) (int, error) {
	var buckets vemlo.Buckets
	var err error
	switch store := d.store(words[0]).(type) {
	case *vemlo.S3:
		buckets, err = store.Buckets(ctx)
	case *vemlo.AzureBlobs:
		buckets, err = store.Containers(ctx)
	}
	if err != nil {
		return 0, err
	}
	for _, name := range buckets.Names {
		c.show("bucket", name)
	}
	c.show("cut", bit(buckets.CutShort))
	return len(buckets.Names), nil
}

func (d *driver) create(ctx context.Context, c command, words []string) (int, error) {
	if store, isStore := d.sessions[words[0]].(store); isStore {
		return 0, store.CreateFolder(ctx, words[1], words[2])
	}
	folder, err := d.drive(words[0]).CreateFolder(ctx, words[1], words[2])
	return 0, c.result(err, "folder", folder.Name, folder.ID)
}

func (d *driver) createBucket(ctx context.Context, _ command, words []string) (int, error) {
	if s3, isS3 := d.store(words[0]).(*vemlo.S3); isS3 {
		return 0, s3.CreateBucket(ctx, words[1], numberIn(words[2]))
	}
	return 0, d.store(words[0]).(*vemlo.AzureBlobs).CreateContainer(ctx, words[1])
}

func (d *driver) account(ctx context.Context, c command, words []string) (int, error) {
	tokens := vemlo.Tokens{Access: words[3], Refresh: words[4]}
	account, err := d.library.AccountOf(ctx, serviceNamed(words[0]), tokens, proxyOf(words[1], words[2]))
	return 0, c.result(err, "account", account.Name, account.Email, account.UsedSpace, account.TotalSpace)
}

func (d *driver) convert(_ context.Context, c command, words []string) (int, error) {
	convert := d.library.Encrypt
	if c.words[0] == "decrypt" {
		convert = d.library.Decrypt
	}
	text, err := convert(words[0])
	return 0, c.result(err, "text", text)
}

func (d *driver) locations(_ context.Context, c command, words []string) (int, error) {
	flavours := map[string]vemlo.Flavour{"aws": vemlo.AWS, "china": vemlo.China,
		"wasabi": vemlo.Wasabi, "custom": vemlo.Customized}
	flavour, known := flavours[words[0]]
	if !known {
		refuse("no such flavour")
	}
	for _, location := range vemlo.Locations(flavour) {
		c.show("location", location.Code, location.Name)
	}
	return 0, nil
}
