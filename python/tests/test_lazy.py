# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Images in files: their life, other threads and other processes."""

import concurrent.futures
import gc
import multiprocessing
import os
import pickle
import random
import sys
import threading

import numpy as np
import pytest
import velmo_image
from conftest import count_handles, make_array, run_python
from velmo_image import VelmoImageError


def test_a_with_block_closes_the_file(stack):
    path, pixels = stack
    with velmo_image.open(path) as image:
        assert not image.closed and count_handles(path) > 0
    assert image.closed and count_handles(path) == 0
    assert image.shape == pixels.shape and image.unit == "um"
    for use in (
        lambda: image[0],
        image.asarray,
        image.to_dask,
        image.to_xarray,
        image.__enter__,
        lambda: pickle.dumps(image),
        lambda: np.asarray(image),
    ):
        with pytest.raises(ValueError, match="closed"):
            use()
    image.close()


def test_the_last_reference_closes_the_file(stack):
    path, pixels = stack
    image = velmo_image.open(path)
    array = image.to_dask()
    del image
    assert count_handles(path) > 0
    np.testing.assert_array_equal(array.compute(), pixels)
    del array
    gc.collect()
    assert count_handles(path) == 0
    data_array = velmo_image.open(path).to_xarray()
    assert count_handles(path) > 0
    del data_array
    gc.collect()
    assert count_handles(path) == 0


def test_a_file_may_be_replaced_while_it_is_open(stack):
    path, pixels = stack
    with velmo_image.open(path) as image:
        velmo_image.imwrite(path, pixels + 1)
        np.testing.assert_array_equal(image[...], pixels)
    np.testing.assert_array_equal(velmo_image.open(path)[...], pixels + 1)


def make_images(folder):
    """An image of each kind of accessor, with its pixels."""
    pixels = make_array((2, 3, 4, 21, 17))
    velmo_image.imwrite(folder / "a.tif", pixels, compression="deflate", pixel_size=(2, 3), user_properties="a=ö")
    velmo_image.imwrite_raw(folder / "a.raw", pixels)
    for z in range(3):
        velmo_image.imwrite(folder / f"z{z}.tif", pixels[:1, :1, z : z + 1], user_properties="b=c")
    return {
        "tiff": (velmo_image.open("a.tif"), pixels),
        "raw": (velmo_image.open_raw("a.raw", pixels.shape, "uint16"), pixels),
        "folder": (velmo_image.open_folder(".", "z<INDEX>.tif"), pixels[:1, :1, :3]),
    }


def sum_plane(image, t, c, z):
    return os.getpid(), int(image[t, c, z].sum(dtype=np.int64)), image.user_properties, image.pixel_size


@pytest.mark.parametrize("kind", ["tiff", "raw", "folder"])
def test_another_process_in_another_folder_opens_the_image_for_itself(kind, tmp_path):
    image, pixels = make_images(tmp_path)[kind]
    (tmp_path / "image.pickle").write_bytes(pickle.dumps(image))
    other = tmp_path / "other"
    other.mkdir()
    printed = run_python(
        """
        import pickle, sys
        image = pickle.load(open(sys.argv[1], "rb"))
        again = pickle.loads(pickle.dumps(image))
        print(image.shape, image.user_properties.encode(), image.pixel_size, int(again[0, 0, 1].sum()))
        """,
        other,
        tmp_path / "image.pickle",
    ).stdout
    expected = (image.shape, image.user_properties.encode(), image.pixel_size, int(pixels[0, 0, 1].sum()))
    assert printed == " ".join(map(str, expected)) + "\n"


@pytest.mark.parametrize("kind", ["tiff", "raw", "folder"])
def test_two_processes_read_one_image(kind, tmp_path):
    image, pixels = make_images(tmp_path)[kind]
    planes = list(np.ndindex(*pixels.shape[:3]))
    with multiprocessing.get_context("spawn").Pool(2) as pool:
        results = pool.starmap(sum_plane, [(image, *plane) for plane in planes])
    assert [result[1] for result in results] == [int(pixels[plane].sum(dtype=np.int64)) for plane in planes]
    assert {result[2:] for result in results} == {(image.user_properties, image.pixel_size)}
    assert os.getpid() not in {result[0] for result in results}


def test_a_record_of_a_missing_file_is_an_error(stack):
    record = pickle.dumps(velmo_image.open(stack[0]))
    os.remove(stack[0])
    with pytest.raises(VelmoImageError) as raised:
        pickle.loads(record)
    assert raised.value.filename == str(stack[0])


def test_damaged_records_are_errors(stack):
    state = velmo_image.open(stack[0])._source.__getstate__()
    kind = type(velmo_image.open(stack[0])._source)
    source = random.Random(1)
    for _ in range(500):
        record = bytearray(state[0])
        record[source.randrange(len(record))] ^= 1 << source.randrange(8)
        del record[source.choice([len(record), source.randrange(len(record))]) :]
        try:
            kind.__new__(kind).__setstate__((bytes(record), *state[1:]))
        except (VelmoImageError, ValueError, MemoryError):
            pass


def test_an_image_in_memory_can_be_pickled(stack):
    image = velmo_image.imread(stack[0])
    copy = pickle.loads(pickle.dumps(image))
    np.testing.assert_array_equal(copy, image)
    assert (copy.pixel_size, copy.unit, copy.color) == (image.pixel_size, image.unit, image.color)
    velmo_image.imwrite("copy.tif", copy)
    np.testing.assert_array_equal(velmo_image.imread("copy.tif"), stack[1])


@pytest.mark.parametrize("kind", ["tiff", "raw", "folder"])
def test_eight_threads_read_one_image(kind, tmp_path):
    image, pixels = make_images(tmp_path)[kind]

    def read(seed):
        source = random.Random(seed)
        for _ in range(200):
            index = tuple(source.randrange(size) for size in pixels.shape[:3])
            rows = slice(source.randrange(21), None, source.choice([1, 2, -1]))
            np.testing.assert_array_equal(image[(*index, rows)], pixels[(*index, rows)])
        return True

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        assert all(pool.map(read, range(8)))


def test_a_read_in_another_thread_ends_before_the_file_is_closed(stack):
    path, pixels = stack
    for _ in range(50):
        image = velmo_image.open(path)
        started = threading.Event()
        read = []

        def work(image=image, started=started, read=read):
            started.set()
            try:
                while True:
                    read.append((image[...] == pixels).all())
            except ValueError:
                pass

        thread = threading.Thread(target=work)
        thread.start()
        started.wait()
        while not read:
            pass
        image.close()
        thread.join()
        assert all(read)


def list_calls(folder):
    """Each kind of call that accesses a file, large enough for another thread to run meanwhile."""
    pixels = make_array((1, 1, 16, 512, 512))
    velmo_image.imwrite(folder / "big.tif", pixels, compression="deflate")
    velmo_image.imwrite_raw(folder / "big.raw", pixels)
    os.mkdir("planes")
    for z in range(4):
        velmo_image.imwrite(f"planes/{z}.tif", pixels[:, :, z : z + 1])
    lazy = velmo_image.open("big.tif")
    raw = velmo_image.open_raw("big.raw", pixels.shape, "uint16")
    record = pickle.dumps(lazy)
    out = np.empty_like(pixels)
    return {
        "imread": lambda: velmo_image.imread("big.tif"),
        "imread_folder": lambda: velmo_image.imread_folder("planes", "<INDEX>.tif"),
        "imread_raw": lambda: velmo_image.imread_raw("big.raw", pixels.shape, "uint16"),
        "open": lambda: velmo_image.open("big.tif"),
        "open_folder": lambda: velmo_image.open_folder("planes", "<INDEX>.tif"),
        "open_raw": lambda: velmo_image.open_raw("big.raw", pixels.shape, "uint16"),
        "foreign": lambda: velmo_image.imread("big.tif", foreign=True),
        "import_tiff": lambda: velmo_image.import_tiff("big.tif", "imported.tif"),
        "imwrite": lambda: velmo_image.imwrite("other.tif", pixels),
        "imwrite_raw": lambda: velmo_image.imwrite_raw("other.raw", pixels),
        "read": lambda: lazy.asarray(out=out),
        "read raw": lambda: raw.asarray(out=out),
        "unpickle": lambda: pickle.loads(record),
    }


def test_the_interpreter_lock_is_released_in_every_call(tmp_path):
    interval = sys.getswitchinterval()
    sys.setswitchinterval(3600)  # from now on a thread runs until it releases the lock by itself
    try:
        for name, call in list_calls(tmp_path).items():
            lock, ran = threading.Lock(), []
            lock.acquire()
            thread = threading.Thread(target=lambda lock=lock, ran=ran: (lock.acquire(), ran.append(True)))
            thread.start()  # returns when the thread waits for the lock or is about to
            lock.release()
            for _ in range(2000):
                call()
                if ran:
                    break
            assert ran, name
            thread.join()
    finally:
        sys.setswitchinterval(interval)


def test_the_test_of_the_interpreter_lock_can_fail():
    interval = sys.getswitchinterval()
    sys.setswitchinterval(3600)
    try:
        lock, ran = threading.Lock(), []
        lock.acquire()
        thread = threading.Thread(target=lambda: (lock.acquire(), ran.append(True)))
        thread.start()
        lock.release()
        for _ in range(2000):
            sum(range(1000))  # does not release it
        assert not ran
    finally:
        sys.setswitchinterval(interval)
        thread.join()


def test_threads_that_still_read_do_not_disturb_the_end_of_the_process(stack, tmp_path):
    code = """
        import sys, threading, time, velmo_image
        image = velmo_image.open(sys.argv[1])
        read = [0]
        def work():
            while True:
                image[...]
                read[0] += 1
        for _ in range(4):
            threading.Thread(target=work, daemon=True).start()
        while read[0] < 20:
            time.sleep(0.001)
    """
    for _ in range(10):
        done = run_python(code, tmp_path, stack[0])
        assert (done.stdout, done.stderr) == ("", "")


def test_a_forked_process_reads_with_images_of_its_own(stack, tmp_path):
    code = """
        import multiprocessing, sys, velmo_image
        def work(path):
            return int(velmo_image.imread(path)[...].sum()) == int(velmo_image.open(path)[...].sum())
        velmo_image.imread(sys.argv[1])
        with multiprocessing.get_context("fork").Pool(2) as pool:
            print(pool.map(work, [sys.argv[1]] * 8) == [True] * 8)
    """
    assert run_python(code, tmp_path, stack[0]).stdout == "True\n"

