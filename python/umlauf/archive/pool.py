"""Who does the work: this process, workers of this machine, or those of a scheduler somewhere."""

from __future__ import annotations

import contextlib
import logging
import os
import signal
import tempfile
import time
from concurrent.futures import Future
from multiprocessing import resource_tracker
from typing import TYPE_CHECKING, Any, Protocol

from .._extras import need

if TYPE_CHECKING:
    from collections.abc import Callable, Iterable, Iterator

    from .recipe import Run

__all__ = ["DaskPool", "LocalPool", "Pool", "connected", "local_workers"]


class Pool(Protocol):
    """Calls functions elsewhere. A result may be handed to another call as it is, without coming here."""

    def submit(self, function: Callable[..., Any], *arguments: Any) -> Any: ...

    def threads(self) -> int:
        """Calls that can run at a time; changes as workers come and go."""
        ...

    def cancel(self, futures: Iterable[Any]) -> None: ...

    def loss(self, error: BaseException) -> bool:
        """Whether a call failed with its worker, and not by itself."""
        ...


class LocalPool:
    """Calls here and now."""

    def submit(self, function: Callable[..., Any], *arguments: Any) -> Future[Any]:
        future: Future[Any] = Future()
        try:
            future.set_result(function(*(self._value(each) for each in arguments)))
        except Exception as error:
            future.set_exception(error)
        return future

    def _value(self, argument: Any) -> Any:
        if isinstance(argument, list):
            return [self._value(each) for each in argument]
        return argument.result() if isinstance(argument, Future) else argument

    def threads(self) -> int:
        return 1

    def cancel(self, futures: Iterable[Any]) -> None:
        pass

    def loss(self, error: BaseException) -> bool:
        return isinstance(error, MemoryError)


class DaskPool:
    """Calls by a client of distributed."""

    def __init__(self, client: Any) -> None:
        self._client = client
        self._killed = need("distributed", "archive", "distributes the work").KilledWorker
        self._threads, self._asked = 0, float("-inf")

    def submit(self, function: Callable[..., Any], *arguments: Any) -> Any:
        return self._client.submit(function, *arguments, pure=False)

    def threads(self) -> int:
        now = time.monotonic()
        if now - self._asked > (2 if self._threads else 0.2):
            self._threads, self._asked = sum(self._client.nthreads().values()), now
        return self._threads

    def cancel(self, futures: Iterable[Any]) -> None:
        with contextlib.suppress(Exception):  # the scheduler may have gone
            self._client.cancel(list(futures), force=True)

    def loss(self, error: BaseException) -> bool:
        return isinstance(error, self._killed | MemoryError)


@contextlib.contextmanager
def local_workers(workers: int | None = None, memory: str = "") -> Iterator[Any]:
    """A client of workers on this machine: processes of one thread each, as many as it has cores."""
    distributed = need("distributed", "archive", "distributes the work")
    config = need("dask", "archive", "distributes the work").config
    # A worker that dies is told at once; who counts how often is the run. What waits in a worker is lost with it.
    # A worker that died is started again by its nanny; the cluster, which looks only once some time later, would
    # end for good what has died again at that moment.
    settings = {
        "distributed.scheduler.allowed-failures": 0,
        "distributed.comm.timeouts.connect": "60s",
        "distributed.deploy.lost-worker-timeout": "1 day",
        # A hundred looks a second at what each process does take a processor's time from the workers.
        "distributed.worker.profile.enabled": False,
    }
    with contextlib.ExitStack() as stack:
        folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="umlauf-"))
        stack.enter_context(config.set(settings))
        with _deaf_to_ctrl_c():
            cluster = stack.enter_context(
                distributed.LocalCluster(
                    n_workers=workers or os.cpu_count() or 1,
                    threads_per_worker=1,
                    processes=True,
                    host="127.0.0.1",
                    memory_limit=memory or "auto",
                    dashboard_address="127.0.0.1:0" if _importable("bokeh") else None,
                    local_directory=folder,
                    silence_logs=logging.CRITICAL,
                )
            )
        yield stack.enter_context(distributed.Client(cluster))


@contextlib.contextmanager
def _deaf_to_ctrl_c() -> Iterator[None]:
    """Threads that begin in here, and the processes that they start, leave Ctrl-C to who started them."""
    if not hasattr(signal, "pthread_sigmask"):
        yield
        return
    # Who starts it lets Ctrl-C through from then on.
    resource_tracker.ensure_running()
    before = signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT})
    try:
        yield
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, before)


@contextlib.contextmanager
def connected(run: Run) -> Iterator[Any]:
    """A client of the scheduler that a recipe names, by TLS where it names certificates."""
    distributed = need("distributed", "archive", "distributes the work")
    security = None
    if run.tls_ca or run.tls_cert or run.tls_key:
        security = distributed.Security(
            tls_ca_file=run.tls_ca or None,
            tls_client_cert=run.tls_cert or None,
            tls_client_key=run.tls_key or None,
            require_encryption=True,
        )
    with distributed.Client(run.scheduler, security=security) as client:
        yield client


def _importable(module: str) -> bool:
    try:
        __import__(module)
    except ImportError:
        return False
    return True
