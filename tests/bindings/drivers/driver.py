#!/usr/bin/env python3
"""Carries out commands on standard input with the Python binding, and writes their results.

The lines are those that the drivers of all languages have in common: words between single spaces,
each percent-encoded; an empty word is a lone "%".
"""

import gc
import os
import sys
import threading
import tracemalloc
from concurrent.futures import ThreadPoolExecutor
from urllib.parse import quote, unquote

import vemlo

SERVICES = {
    "s3": vemlo.Service.S3,
    "azure": vemlo.Service.AZURE_BLOBS,
    "amazon-drive": vemlo.Service.AMAZON_DRIVE,
    "google-drive": vemlo.Service.GOOGLE_DRIVE,
    "onedrive": vemlo.Service.ONE_DRIVE,
    "dropbox": vemlo.Service.DROPBOX,
}
WORDS = {service: word for word, service in SERVICES.items()}
FLAVOURS = {
    "aws": vemlo.Flavour.AWS,
    "china": vemlo.Flavour.CHINA,
    "wasabi": vemlo.Flavour.WASABI,
    "custom": vemlo.Flavour.CUSTOMIZED,
}


class NotUnderstood(Exception):
    """A line that is no command."""


def show(*words):
    # One write for a line, as renewed tokens are shown by any thread.
    sys.stdout.write(" ".join(quote(str(w), safe="-._~", errors="surrogateescape") or "%"
                              for w in words) + "\n")  # fmt: skip
    sys.stdout.flush()


def show_failure(failure):
    show("failed", failure.kind.label, WORDS.get(failure.service, ""), failure.code, failure.error,
         failure.http_status, -1 if failure.retry_after is None else failure.retry_after,
         failure.operation, failure.service_code, failure.service_message,
         failure.request_id)  # fmt: skip


def show_renewed(tokens):
    lifetime = -1 if tokens.lifetime is None else tokens.lifetime
    show("renewed", WORDS[tokens.service], tokens.used_refresh_token, tokens.access,
         tokens.refresh, lifetime)  # fmt: skip


def folder_line(folder):
    return "folder", folder.name, folder.id or ""


def resident_kilobytes():
    with open("/proc/self/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGESIZE") // 1024


def open_session(service, arguments, proxy):
    if service == "s3":
        endpoint, region, access_key, secret_key = arguments
        return vemlo.S3(endpoint, region, access_key, secret_key, proxy)
    if service == "azure":
        region, account_name, key = arguments
        return vemlo.AzureBlobs(region, account_name, key, proxy)
    if arguments:
        raise NotUnderstood(arguments)
    return vemlo.Drive(SERVICES[service], proxy)


class Driver:
    """The methods carry out the commands of their names and return the lines of the results."""

    def __init__(self):
        self.library = None
        self.applications = []
        self.trust_file = None
        self.sessions = {}

    # The process

    def do_application(self, service, client_id, client_secret, redirect_uri):
        self.applications.append(
            vemlo.Application(SERVICES[service], client_id, client_secret, redirect_uri)
        )
        return []

    def do_trust(self, file):
        self.trust_file = file
        return []

    def do_library(self, pkce, whole_s3_listings, durable_dropbox_tokens):
        self.library = vemlo.Library(
            vemlo.Settings(
                applications=self.applications,
                pkce=pkce == "1",
                whole_s3_listings=whole_s3_listings == "1",
                durable_dropbox_tokens=durable_dropbox_tokens == "1",
                trust_file=self.trust_file,
                tokens_renewed=show_renewed,
            )
        )
        return []

    def close(self):
        for session in self.sessions.values():
            session.close()
        if self.library is not None:
            self.library.close()

    # Sessions

    def do_open(self, name, service, host, port, *arguments):
        self.sessions[name] = open_session(service, arguments, vemlo.Proxy(host, int(port)))
        return []

    def do_close(self, name):
        self.sessions.pop(name).close()
        return []

    def do_url(self, name, state):
        return [("url", self.sessions[name].authorize_url(state))]

    def do_logout_url(self, name):
        return [("url", self.sessions[name].logout_url() or "")]

    def do_link(self, name, code):
        tokens = self.sessions[name].link(code)
        return [("tokens", tokens.access, tokens.refresh)]

    def do_tokens(self, name, access, refresh):
        self.sessions[name].set_tokens(vemlo.Tokens(access, refresh))
        return []

    # Folders

    def do_root(self, name):
        return [folder_line(self.sessions[name].root())]

    def do_folders(self, name, parent):
        return self.listing(self.sessions[name].folders(parent))

    def do_list(self, name, bucket, prefix):
        return self.listing(self.sessions[name].folders(bucket, prefix))

    @staticmethod
    def listing(folders):
        return [*map(folder_line, folders), ("cut", int(folders.is_cut_short))]

    def do_buckets(self, name):
        session = self.sessions[name]
        names = session.buckets() if isinstance(session, vemlo.S3) else session.containers()
        return [*(("bucket", bucket) for bucket in names), ("cut", int(names.is_cut_short))]

    def do_create(self, name, place, folder):
        created = self.sessions[name].create_folder(place, folder)
        return [] if created is None else [folder_line(created)]

    def do_create_bucket(self, name, bucket, location):
        session = self.sessions[name]
        if isinstance(session, vemlo.S3):
            session.create_bucket(bucket, int(location))
        else:
            session.create_container(bucket)
        return []

    def do_locations(self, flavour):
        return [("location", *location) for location in vemlo.locations(FLAVOURS[flavour])]

    # Accounts and texts

    def do_account(self, service, host, port, access, refresh):
        account = vemlo.account_of(
            SERVICES[service], vemlo.Tokens(access, refresh), vemlo.Proxy(host, int(port))
        )
        space = (-1 if n is None else n for n in (account.used_space, account.total_space))
        return [("account", account.name, account.email, *space)]

    def do_encrypt(self, text):
        return [("text", vemlo.encrypt(text))]

    def do_decrypt(self, text):
        return [("text", vemlo.decrypt(text))]

    # Commands that carry out others

    def do_within(self, milliseconds, *command):
        with vemlo.call_limits(timeout=int(milliseconds) / 1000):
            return self.run(*command)

    def do_cancel_after(self, milliseconds, *command):
        with vemlo.Cancellation() as cancellation:
            timer = threading.Timer(int(milliseconds) / 1000, cancellation.trigger)
            timer.start()
            try:
                with vemlo.call_limits(cancellation=cancellation):
                    return self.run(*command)
            finally:
                timer.cancel()
                timer.join()

    def do_cancel_at_request(self, number, *command):
        def continues(progress):
            show("progress", progress.requests, progress.bytes, progress.entries)
            return progress.requests < int(number)

        with vemlo.call_limits(progress=continues):
            return self.run(*command)

    def do_threads(self, count, times, *command):
        with ThreadPoolExecutor(int(count)) as pool:
            jobs = [pool.submit(self.run_times, int(times), command) for _ in range(int(count))]
            entries, failures = map(sum, zip(*(job.result() for job in jobs)))
        succeeded = int(count) * int(times) - failures
        return [("succeeded", succeeded), ("entries", entries), ("failures", failures)]

    def do_repeat(self, times, *command):
        warm_up = int(times) // 10
        tracemalloc.start()
        _, failures = self.run_times(warm_up, command)
        gc.collect()
        memory, traced = [resident_kilobytes()], [tracemalloc.get_traced_memory()[0]]
        _, more_failures = self.run_times(int(times) - warm_up, command)
        gc.collect()
        memory.append(resident_kilobytes())
        traced.append(tracemalloc.get_traced_memory()[0])
        tracemalloc.stop()
        failures += more_failures
        return [("memory", *memory), ("traced", *traced), ("failures", failures)]

    def run_times(self, times, command):
        """The entries of all listings, and the number of failures."""
        entries = failures = 0
        for _ in range(times):
            try:
                entries += sum(line[0] in ("folder", "bucket") for line in self.run(*command))
            except vemlo.Failure:
                failures += 1
        return entries, failures

    def run(self, command, *arguments):
        method = getattr(self, "do_" + command.replace("-", "_"), None)
        if method is None:
            raise NotUnderstood(command)
        return method(*arguments)


def main():
    driver = Driver()
    for line in sys.stdin:
        words = ["" if word == "%" else unquote(word, errors="surrogateescape")
                 for word in line.rstrip("\n").split(" ")]  # fmt: skip
        if words == ["quit"]:
            break
        try:
            for result in driver.run(*words):
                show(*result)
        except vemlo.Failure as failure:
            show_failure(failure)
        except (NotUnderstood, LookupError, TypeError, ValueError) as error:
            print(f"{line.rstrip()}: {error!r}", file=sys.stderr)
            sys.exit(2)
        else:
            show("done")
    driver.close()


if __name__ == "__main__":
    main()
