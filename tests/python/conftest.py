# SPDX-License-Identifier: Apache-2.0
import numpy as np
import pytest

import kip


@pytest.fixture
def rng():
    return np.random.default_rng(7)


@pytest.fixture(params=["portable", 1, 2])
def level(request):
    try:
        kip.set_level(request.param)
    except ValueError:
        pytest.skip("the processor lacks it")
    yield request.param
    kip.set_level(None)
