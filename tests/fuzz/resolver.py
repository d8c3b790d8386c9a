#!/usr/bin/python3
"""What a name server answers, as mailvanectl reads it: records, or no answer."""
import os
import struct
import sys
from unittest import mock

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, HERE + "/../../tools"]

import mutation
from mailvane.ctl import resolver

CORPUS = HERE + "/corpus/dns"


def judge(answer):
    """Whatever comes is read to its end, which is not far."""
    with mock.patch.object(resolver, "_servers", lambda: ["here"]), \
            mock.patch.object(os, "urandom", lambda size: answer[:size]), \
            mock.patch.object(resolver, "_by_datagram", lambda server, query: answer), \
            mock.patch.object(resolver, "_by_stream", lambda server, query: answer):
        for kind in (resolver.MX, resolver.TEXT):
            try:
                found = resolver.records("a.test", kind)
            except resolver.NoAnswer:
                continue
            assert len(found) <= struct.unpack_from("!H", answer, 6)[0]
            assert all(len(record) <= len(answer) for record in found)


if __name__ == "__main__":
    mutation.main(mutation.corpus(CORPUS), judge, CORPUS)
