// Compares the CPU time of listings by the Go binding with that of the C functions. Fails if the
// binding exceeds its limit.
package main

import (
	"bufio"
	"context"
	"flag"
	"fmt"
	"os"
	"os/exec"
	"path/filepath"
	"sort"
	"strconv"
	"strings"
	"syscall"
	"time"

	"vemlo"
)

const limit = 1.3

var (
	rounds = flag.Int("rounds", 31, "rounds of each listing")
	calls  = flag.Int("calls", 50, "calls of a listing of 1,000 folders in a round")
	server = flag.String("serve", "", "be the server, and write its certificate to this file")
)

func check(err error) {
	if err != nil {
		fmt.Fprintln(os.Stderr, "listings:", err)
		os.Exit(2)
	}
}

func main() {
	flag.Parse()
	if *server != "" {
		serve(*server)
		return
	}
	folder, err := os.MkdirTemp("", "vemlo")
	check(err)
	trust := filepath.Join(folder, "authority.pem")
	port, stop := startServer(trust)
	library, err := vemlo.Open(vemlo.Settings{TrustFile: trust})
	check(err)
	kept := true
	fmt.Printf("%-34s %12s %12s %6s\n", "CPU us per listing", "C functions", "Go binding", "ratio")
	for _, count := range []int{1000, 50_000} {
		for _, service := range []vemlo.Service{vemlo.ServiceS3, vemlo.GoogleDrive} {
			byC, byGo := listings(library, service, port, count)
			kept = compare(fmt.Sprintf("%v, %d folders", service, count), count, byC, byGo) && kept
		}
	}
	stop()
	check(os.RemoveAll(folder))
	if !kept {
		os.Exit(1)
	}
}

func startServer(trust string) (port int, stop func()) {
	self, err := os.Executable()
	check(err)
	process := exec.Command(self, "-serve", trust)
	input, err := process.StdinPipe()
	check(err)
	output, err := process.StdoutPipe()
	check(err)
	check(process.Start())
	line, err := bufio.NewReader(output).ReadString('\n')
	check(err)
	port, err = strconv.Atoi(strings.TrimSpace(line))
	check(err)
	return port, func() {
		input.Close()
		check(process.Wait())
	}
}

// listings returns functions that make the same listing, by the C functions and by the binding.
func listings(library *vemlo.Library, service vemlo.Service, port, count int) (byC, byGo func() int) {
	name := strconv.Itoa(count)
	if service == vemlo.ServiceS3 {
		endpoint := fmt.Sprintf("http://127.0.0.1:%d", port)
		s3, err := library.OpenS3(vemlo.S3Config{Endpoint: endpoint, AccessKey: "key", SecretKey: "key"})
		check(err)
		return listS3ByC(endpoint, name), func() int {
			listing, err := s3.Folders(context.Background(), name, "")
			check(err)
			return len(listing.Folders)
		}
	}
	proxy := vemlo.Proxy{Host: "127.0.0.1", Port: uint16(port)}
	drive, err := library.OpenDrive(service, proxy)
	check(err)
	check(drive.SetTokens(vemlo.Tokens{Access: "access", Refresh: "refresh"}))
	return listGoogleDriveByC(proxy, name), func() int {
		listing, err := drive.Folders(context.Background(), name)
		check(err)
		return len(listing.Folders)
	}
}

// compare lets both ways take turns, and prints the medians of the rounds.
func compare(name string, count int, byC, byGo func() int) bool {
	times := 1 + *calls*1000/count/2
	var ofC, ofGo, ratios []float64
	for i := 0; i < *rounds; i++ {
		c := measure(times, count, byC)
		binding := measure(times, count, byGo)
		ofC, ofGo, ratios = append(ofC, c), append(ofGo, binding), append(ratios, binding/c)
	}
	ratio := median(ratios)
	fmt.Printf("%-34s %12.1f %12.1f %6.2f\n", name, median(ofC), median(ofGo), ratio)
	return ratio <= limit
}

// measure returns the CPU time of a listing in microseconds.
func measure(times, count int, list func() int) float64 {
	begin := cpuTime()
	for i := 0; i < times; i++ {
		if listed := list(); listed != count {
			check(fmt.Errorf("%d folders, not %d", listed, count))
		}
	}
	return float64((cpuTime() - begin).Microseconds()) / float64(times)
}

func cpuTime() time.Duration {
	var use syscall.Rusage
	check(syscall.Getrusage(syscall.RUSAGE_SELF, &use))
	return time.Duration(use.Utime.Nano() + use.Stime.Nano())
}

func median(values []float64) float64 {
	sort.Float64s(values)
	return values[len(values)/2]
}
