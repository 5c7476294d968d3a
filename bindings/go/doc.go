// Package vemlo links accounts of S3 and compatible stores, Azure storage blobs, Google Drive,
// OneDrive, Dropbox and Amazon Drive, and lists and creates folders in them.
//
// A program opens the Library once, opens a session per account (S3, AzureBlobs or Drive), and
// closes the sessions and then the library in the end. Nothing else has to be released.
//
// # Contexts
//
// Methods that send requests take a context. Its deadline and its cancellation end a call within a
// tenth of a second; the session can be used afterwards. A context made by WithProgress reports how
// far a call has come. Progress travels in the context, like the deadline, because it concerns a
// call as a whole: functions between the user interface and the call pass it on without naming it.
//
// # Failures
//
// Every error is a *Failure, and errors.Is tells its Kind:
//
//	if errors.Is(err, vemlo.LinkAgain) {
//		// Ask the user for consent.
//	}
//
// A text with a NUL, which C would cut short, is refused before anything is sent.
//
// # Goroutines
//
// Sessions may be used by several goroutines at once, except for Drive.Link and Drive.SetTokens. A
// call that waits for the network occupies a thread of the operating system, as every call of C
// does. The library keeps idle threads for later calls.
package vemlo
