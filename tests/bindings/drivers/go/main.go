// Carries out commands on standard input with the Go binding, and writes their results to standard
// output. The lines are those that the drivers of all languages have in common.
package main

import (
	"bufio"
	"context"
	"io"
	"os"
	"runtime/debug"
	"strconv"
	"strings"
	"sync"
	"sync/atomic"
	"time"

	"vemlo"
)

func main() {
	d := &driver{
		settings: vemlo.Settings{Applications: map[vemlo.Service]vemlo.Application{}},
		sessions: map[string]io.Closer{},
	}
	input := bufio.NewScanner(os.Stdin)
	input.Buffer(nil, 1<<24)
	for input.Scan() && input.Text() != "quit" {
		c := command{words: wordsOf(input.Text())}
		if _, err := d.run(context.Background(), c); err != nil {
			showFailure(err)
		} else {
			show("done")
		}
	}
	if err := d.closeEverything(); err != nil {
		refuse(err.Error())
	}
}

// run carries out a command, which may consist of a condition and another command.
func (d *driver) run(ctx context.Context, c command) (int, error) {
	switch c.words[0] {
	case "within":
		ctx, cancel := context.WithTimeout(ctx, c.milliseconds())
		defer cancel()
		return d.run(ctx, c.rest(2))
	case "cancel-after":
		ctx, cancel := context.WithCancel(ctx)
		defer cancel()
		timer := time.AfterFunc(c.milliseconds(), cancel)
		defer timer.Stop()
		return d.run(ctx, c.rest(2))
	case "cancel-at-request":
		return d.run(vemlo.WithProgress(ctx, c.reportUntilRequest()), c.rest(2))
	case "threads":
		d.runOnGoroutines(ctx, c)
		return 0, nil
	case "repeat":
		d.runRepeatedly(ctx, c)
		return 0, nil
	}
	return d.carryOut(ctx, c)
}

// rest returns the command without its first words.
func (c command) rest(count int) command {
	if len(c.words) <= count {
		refuse("a command is missing")
	}
	return command{c.words[count:], c.quiet}
}

func (c command) milliseconds() time.Duration {
	return time.Duration(numberIn(c.rest(1).words[0])) * time.Millisecond
}

func (c command) reportUntilRequest() func(vemlo.Progress) bool {
	last := uint64(numberIn(c.rest(1).words[0]))
	return func(progress vemlo.Progress) bool {
		c.show("progress", progress.Requests, progress.Bytes, progress.Entries)
		return progress.Requests < last
	}
}

// runTimes returns how many runs have failed, and how many entries the others have listed.
func (d *driver) runTimes(ctx context.Context, times int, c command) (failures, entries int) {
	c.quiet = true
	for i := 0; i < times; i++ {
		listed, err := d.run(ctx, c)
		entries += listed
		if err != nil {
			failures++
		}
	}
	return failures, entries
}

func (d *driver) runOnGoroutines(ctx context.Context, c command) {
	part := c.rest(3)
	count, times := numberIn(c.words[1]), numberIn(c.words[2])
	var failures, entries atomic.Int64
	var wait sync.WaitGroup
	for i := 0; i < count; i++ {
		wait.Add(1)
		go func() {
			defer wait.Done()
			failed, listed := d.runTimes(ctx, times, part)
			failures.Add(int64(failed))
			entries.Add(int64(listed))
		}()
	}
	wait.Wait()
	show("succeeded", int64(count*times)-failures.Load())
	show("entries", entries.Load())
	show("failures", failures.Load())
}

func (d *driver) runRepeatedly(ctx context.Context, c command) {
	part, times := c.rest(2), numberIn(c.words[1])
	failures, _ := d.runTimes(ctx, times/10, part)
	before := residentKiB()
	more, _ := d.runTimes(ctx, times-times/10, part)
	show("memory", before, residentKiB())
	show("failures", failures+more)
}

// residentKiB is the resident size of the process once garbage is collected.
func residentKiB() int {
	debug.FreeOSMemory()
	text, err := os.ReadFile("/proc/self/statm")
	if err != nil {
		refuse(err.Error())
	}
	pages, err := strconv.Atoi(strings.Fields(string(text))[1])
	if err != nil {
		refuse(err.Error())
	}
	return pages * os.Getpagesize() / 1024
}
