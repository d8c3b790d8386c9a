# shellcheck shell=bash disable=SC2034
# What the daily tasks share; sourced by each of them.

set -u
LC_ALL=C
PATH=/usr/sbin:/usr/bin:/sbin:/bin
export LC_ALL PATH
umask 022

package=/var/packages/Mailvane
