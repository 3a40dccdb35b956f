#!/usr/bin/env bash
# Gives this machine a printer for the print-dialog tests: a CUPS queue named
# "mervane_pdf" that prints into PDF files, made the default destination.
# Wine's print spooler lists CUPS queues, so the dialog under Wine shows it.
#
# Starts the CUPS scheduler when it is not running. Harmless when run again.
# Where CUPS or the PDF backend is not installed, or the scheduler cannot be
# started, it says so and succeeds: the dialog tests then take the path of a
# machine without printers.
set -u
queue=mervane_pdf
ppd=/usr/share/ppd/cups-pdf/CUPS-PDF_opt.ppd

say() { echo "pdf-printer: $*"; }

if ! command -v cupsd >/dev/null || ! command -v lpadmin >/dev/null; then
  say "CUPS is not installed; no printer"
  exit 0
fi
if [[ ! -x /usr/lib/cups/backend/cups-pdf || ! -f "$ppd" ]]; then
  say "the cups-pdf backend is not installed; no printer"
  exit 0
fi

running() { lpstat -r 2>/dev/null | grep -q 'is running'; }
if ! running; then
  if [[ $(id -u) -ne 0 ]]; then
    say "the CUPS scheduler is not running and only root can start it; no printer"
    exit 0
  fi
  cupsd 2>/dev/null
  for _ in $(seq 50); do running && break; sleep 0.1; done
  if ! running; then
    say "the CUPS scheduler did not start; no printer"
    exit 0
  fi
fi

if ! lpstat -p "$queue" >/dev/null 2>&1; then
  lpadmin -p "$queue" -E -v cups-pdf:/ -P "$ppd" -D "Mervane test printer" 2>&1 |
    grep -v 'deprecated' || true
fi
if ! lpstat -p "$queue" >/dev/null 2>&1; then
  say "could not add the queue $queue; no printer"
  exit 0
fi
cupsenable "$queue" 2>/dev/null || true
cupsaccept "$queue" 2>/dev/null || true
lpadmin -d "$queue" >/dev/null 2>&1 || true
say "queue $queue ready ($(lpstat -d 2>/dev/null))"
