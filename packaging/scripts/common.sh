# shellcheck shell=bash disable=SC2034
# Settings shared by the daily tasks, which source this file.

set -u
LC_ALL=C
PATH=/usr/sbin:/usr/bin:/sbin:/bin
export LC_ALL PATH
umask 022

package=/var/packages/Mailvane
