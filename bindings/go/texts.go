package vemlo

// #include "bridge.h"
import "C"

import (
	"strings"
	"unsafe"
)

// texts are the arguments of a call. The first one that contains a NUL, which C would take for its
// end, makes the call fail.
type texts struct{ bad string }

// add returns a text for C, in memory of Go: the C functions read their arguments during the call
// only. The text is passed on as it is, also if it is not UTF-8.
func (t *texts) add(what, text string) *C.char {
	if t.bad == "" && strings.IndexByte(text, 0) >= 0 {
		t.bad = what
	}
	copied := make([]byte, len(text)+1)
	copy(copied, text)
	return (*C.char)(unsafe.Pointer(&copied[0]))
}

// addProxy does the same for the texts of a proxy.
func (t *texts) addProxy(proxy Proxy) C.proxy_setting {
	return C.proxy_setting{
		host:     t.add("the proxy's host", proxy.Host),
		port:     C.uint16_t(proxy.Port),
		username: t.add("the proxy's user name", proxy.Username),
		password: t.add("the proxy's password", proxy.Password),
	}
}

func (t *texts) failure(service Service) error {
	if t.bad == "" {
		return nil
	}
	return hostFault(service, t.bad+" contains a NUL", nil)
}

// releaseText releases a text that C has handed out.
func releaseText(text **C.char) { C.free(unsafe.Pointer(*text)) }
