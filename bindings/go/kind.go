package vemlo

// #include "bridge.h"
import "C"

// A Service is a cloud service. The numbers never change.
type Service int32

const (
	ServiceS3         Service = C.VEMLO_CLIENT_S3
	ServiceAzureBlobs Service = C.VEMLO_CLIENT_AZURE_SSB
	AmazonDrive       Service = C.VEMLO_CLIENT_AMAZON_DRIVE
	GoogleDrive       Service = C.VEMLO_CLIENT_GOOGLE_DRIVE
	OneDrive          Service = C.VEMLO_CLIENT_ONE_DRIVE
	Dropbox           Service = C.VEMLO_CLIENT_DROPBOX
)

// String returns a name for users, such as "Google Drive".
func (s Service) String() string {
	switch s {
	case ServiceS3:
		return "S3"
	case ServiceAzureBlobs:
		return "Azure blobs"
	case AmazonDrive:
		return "Amazon Drive"
	case GoogleDrive:
		return "Google Drive"
	case OneDrive:
		return "OneDrive"
	case Dropbox:
		return "Dropbox"
	}
	return "unknown service"
}

// A Kind says what a failure means for the user and the host. It is an error itself, so that
// errors.Is(err, vemlo.LinkAgain) tells whether err is a failure of that kind. The numbers never change; a
// kind of a later version of the library is NotUnderstood.
type Kind int32

const (
	// The service no longer accepts the account's tokens, or there are none: the user has to give
	// consent again.
	LinkAgain Kind = C.VEMLO_CLIENT_LINK_AGAIN
	// Too many requests, or something else is in progress: try again later.
	Wait Kind = C.VEMLO_CLIENT_WAIT
	// The service or the proxy was not reached, or the connection broke.
	Offline Kind = C.VEMLO_CLIENT_OFFLINE
	// The service did not respond in time.
	TimedOut Kind = C.VEMLO_CLIENT_TIMED_OUT
	// The service's certificate is not trusted or belongs to another host.
	NotTrusted Kind = C.VEMLO_CLIENT_NOT_TRUSTED
	// The account may not do this.
	Denied Kind = C.VEMLO_CLIENT_DENIED
	// The folder, bucket or account does not exist.
	NotFound Kind = C.VEMLO_CLIENT_NOT_FOUND
	// There is something of this name already.
	ExistsAlready Kind = C.VEMLO_CLIENT_EXISTS_ALREADY
	// The service does not allow this name.
	NameNotAllowed Kind = C.VEMLO_CLIENT_NAME_NOT_ALLOWED
	// The account has no space left, or has reached another of its limits.
	Quota Kind = C.VEMLO_CLIENT_QUOTA
	// The access key or the secret key is wrong.
	WrongKeys Kind = C.VEMLO_CLIENT_WRONG_KEYS
	// The clock of this computer is wrong.
	WrongClock Kind = C.VEMLO_CLIENT_WRONG_CLOCK
	// The bucket is in another region, or there is no such region.
	WrongRegion Kind = C.VEMLO_CLIENT_WRONG_REGION
	// The service failed: try again later.
	ServiceTrouble Kind = C.VEMLO_CLIENT_SERVICE_TROUBLE
	// What the service responded has no meaning here: it is perhaps not this kind of service, or a
	// network sign-in page. Or the service refused the request for a reason that has no kind of its
	// own; the failure's ServiceCode and ServiceMessage state it.
	NotUnderstood Kind = C.VEMLO_CLIENT_NOT_UNDERSTOOD
	// The host cancelled the call: by its context, or in the callback for progress.
	Cancelled Kind = C.VEMLO_CLIENT_CANCELLED
	// The deadline of the call's context has passed, or would pass before the next attempt.
	Deadline Kind = C.VEMLO_CLIENT_DEADLINE
	// The program is at fault: bad arguments, a session that is closed, an application that the
	// service does not accept, or no memory.
	HostFault Kind = C.VEMLO_CLIENT_HOST_FAULT
)

// Error returns the name of the kind, such as "link again".
func (k Kind) Error() string {
	return C.GoString(C.vemlo_client_kind_name(C.int32_t(k)))
}
